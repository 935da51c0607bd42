#pragma once

#include "quality/UniversalIndex.h"

namespace quality {

/// The index Q at one scale of a pair, for images on the same pixels: of every two bands of an image, and of
/// every band with pan.
class ScaleIndices {
public:
    /// `bandCount` bands per image, blocks of `side` x `side` pixels.
    ScaleIndices(std::size_t imageColumns, std::size_t bandCount, std::size_t imageCount, std::size_t side);

    /// Adds a row: the bands of each image in turn, then pan.
    void AddRow(std::span<const Channels> row, const unsigned char* valid) { index.AddRow(row, valid); }
    /// Adds the sums of the rows just below. The rows so far must end with whole blocks.
    void Append(ScaleIndices& below) { index.Append(below.index); }

    struct Found {
        std::vector<double> ofBands; ///< bands 1 and 2, 1 and 3, ..., 2 and 3, ...
        std::vector<double> withPan;
    };
    [[nodiscard]] std::vector<Found> Find(); ///< one per image

private:
    std::size_t bands, images;
    UniversalIndex index;
};

/// The side of blocks on the coarse grid that cover the same ground as those on the fine grid; at least 2.
[[nodiscard]] std::size_t CoarseBlockSide(double ratio);

/// How much Q differs between the coarse and the fine scale: the mean of |fine - coarse|. 0 without numbers.
[[nodiscard]] double Distortion(const std::vector<double>& fine, const std::vector<double>& coarse);

} // namespace quality
