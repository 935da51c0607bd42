#pragma once

#include <cstddef>
#include <cstdint>

namespace quality {

/// The mean angle between the spectra of two images (SAM). Pixels where one of them is 0 in all bands have no
/// angle and do not count.
class SpectralAngle {
public:
    explicit SpectralAngle(std::size_t bandCount) : bands(bandCount) {}

    /// Adds a row of `pixels` pixels. Samples are doubles or unsigned shorts.
    template <class Image, class Reference>
    void AddRow(const Image* image, const Reference* reference, const unsigned char* valid,
                std::size_t columns);
    void Append(const SpectralAngle& below) {
        sum += below.sum;
        count += below.count;
    }
    /// In degrees; NaN when no pixel counted.
    [[nodiscard]] double Find() const;

private:
    std::size_t bands;
    double sum = 0.0; ///< radians
    std::uint64_t count = 0;
};

} // namespace quality
