#pragma once

#include "kernels/SumRow.h"
#include "quality/WholeRow.h"

#include <cstddef>

namespace quality {

/// The mean angle between the spectra of two images (SAM). Pixels where one of them is 0 in all bands have no
/// angle and do not count.
class SpectralAngle {
public:
    explicit SpectralAngle(std::size_t bandCount) : bands(bandCount) {}

    /// Adds a row of `columns` pixels. Reference samples are doubles or unsigned shorts.
    template <class Reference>
    void AddRow(const double* image, const Reference* reference, const unsigned char* valid,
                std::size_t columns);
    /// Adds a row. All samples are 0 where a pixel does not count.
    void AddRow(const WholeRow& row, std::size_t columns) {
        addAngles(row.image, row.reference, row.stride, bands, columns, sum);
    }
    void Append(const SpectralAngle& below) {
        sum.radians += below.sum.radians;
        sum.count += below.sum.count;
    }
    /// In degrees; NaN when no pixel counted.
    [[nodiscard]] double Find() const;

private:
    std::size_t bands;
    kernels::AngleSum sum;
    kernels::AddAngles addAngles = kernels::AddAnglesFor(kernels::ChosenSimdTarget());
};

} // namespace quality
