#pragma once

#include "quality/ErrorSums.h"
#include "quality/SpatialCorrelation.h"
#include "quality/SpectralAngle.h"
#include "quality/UniversalIndex.h"

namespace quality {

/// All indices of an image against a reference.
struct ReferenceIndices {
    std::uint64_t pixels = 0; ///< pixels compared; if 0, the other numbers are meaningless
    std::vector<BandErrors> errors;
    std::vector<double> q;                  ///< per band
    std::vector<double> spatialCorrelation; ///< per band
    double meanQ = 0.0;
    double sam = 0.0;   ///< degrees
    double ergas = 0.0; ///< NaN without a ratio
};

/// Computes them while the rows of both images are added.
class Comparison {
public:
    Comparison(std::size_t imageColumns, std::size_t bandCount);

    /// Adds a row. A pixel counts if `valid` is not 0. Reference samples are doubles or unsigned shorts.
    template <class Reference>
    void AddRow(const double* image, const Reference* reference, const unsigned char* valid);
    /// The same for two images of whole numbers, which is faster. All rows of a comparison, and of those
    /// appended to it, are added in one of the two ways.
    void AddRow(const unsigned short* image, const unsigned short* reference, const unsigned char* valid);
    /// Adds the sums of the rows just below. The rows so far must end with whole blocks.
    void Append(Comparison& below);
    /// Call it after the last row. `ratio` is the width of a coarse pixel over that of a fine one, for ERGAS.
    [[nodiscard]] ReferenceIndices Find(double ratio);

private:
    WholeRow Spread(const unsigned short* image, const unsigned short* reference);

    std::size_t columns, bands;
    ErrorSums errors;
    SpectralAngle angle;
    UniversalIndex index;
    SpatialCorrelation detail;
    std::vector<unsigned short> planes, part; ///< of a row, and of kernels::spreadPixels pixels of an image
    kernels::SpreadPixels spreadPixels = kernels::SpreadPixelsFor(kernels::ChosenSimdTarget());
};

} // namespace quality
