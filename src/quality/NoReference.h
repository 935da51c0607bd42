#pragma once

#include "quality/UniversalIndex.h"

namespace quality {

/// What Q says of one scale of a pair, for images on the same pixels: of every two bands of an image, and of
/// every band with pan.
class ScaleIndices {
public:
    /// `bandCount` bands per image, blocks of `side` x `side` pixels.
    ScaleIndices(std::size_t imageColumns, std::size_t bandCount, std::size_t imageCount, std::size_t side);

    /// The bands of one image after those of another, then pan.
    void AddRow(std::span<const Channels> row, const unsigned char* valid) { index.AddRow(row, valid); }
    /// What is above `below` ends with whole blocks.
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

/// The side of the blocks on the coarse grid that are as large on the ground as those on the fine one; at
/// least 2.
[[nodiscard]] std::size_t CoarseBlockSide(double ratio);

/// How far Q moved from the coarse scale to the fine one: the mean of |fine - coarse|. 0 for no numbers.
[[nodiscard]] double Distortion(const std::vector<double>& fine, const std::vector<double>& coarse);

} // namespace quality
