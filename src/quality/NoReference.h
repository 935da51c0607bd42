#pragma once

#include "quality/UniversalIndex.h"

namespace quality {

/// What Q says of one scale of a pair: of every two bands, and of every band with pan.
class ScaleIndices {
public:
    /// Blocks of so many pixels across and down.
    ScaleIndices(std::size_t imageColumns, std::size_t bandCount, std::size_t side);

    /// Pixels of the bands interleaved, pan one sample a pixel.
    void AddRow(const double* image, const double* pan, const unsigned char* valid);

    struct Found {
        std::vector<double> ofBands; ///< bands 1 and 2, 1 and 3, ..., 2 and 3, ...
        std::vector<double> withPan;
    };
    [[nodiscard]] Found Find();

private:
    std::size_t columns, bands;
    UniversalIndex index;
    std::vector<double> all; ///< a row, the bands and then pan a pixel
};

/// The side of the blocks on the coarse grid that are as large on the ground as those on the fine one; at
/// least 2.
[[nodiscard]] std::size_t CoarseBlockSide(double ratio);

/// How far Q moved from the coarse scale to the fine one: the mean of |fine - coarse|. 0 for no numbers.
[[nodiscard]] double Distortion(const std::vector<double>& fine, const std::vector<double>& coarse);

} // namespace quality
