#pragma once

#include "quality/ErrorSums.h"
#include "quality/SpatialCorrelation.h"
#include "quality/SpectralAngle.h"
#include "quality/UniversalIndex.h"

namespace quality {

/// All indices of an image against a reference.
struct ReferenceIndices {
    std::uint64_t pixels = 0; ///< that were compared; without any the numbers mean nothing
    std::vector<BandErrors> errors;
    std::vector<double> q;                  ///< a band
    std::vector<double> spatialCorrelation; ///< a band
    double meanQ = 0.0;
    double sam = 0.0;   ///< degrees
    double ergas = 0.0; ///< not a number without a ratio
};

/// Finds them while the rows of both pass by.
class Comparison {
public:
    Comparison(std::size_t imageColumns, std::size_t bandCount);

    /// A pixel counts where `valid` is not 0. Samples of either are doubles or unsigned shorts.
    template <class Image, class Reference>
    void AddRow(const Image* image, const Reference* reference, const unsigned char* valid);
    /// What is above `below` ends with whole blocks.
    void Append(Comparison& below);
    /// After the last row. `ratio` is the coarse pixel's width over the fine one's, for ERGAS.
    [[nodiscard]] ReferenceIndices Find(double ratio);

private:
    std::size_t columns, bands;
    ErrorSums errors;
    SpectralAngle angle;
    UniversalIndex index;
    SpatialCorrelation detail;
};

} // namespace quality
