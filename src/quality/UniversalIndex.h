#pragma once

#include "quality/BlockMoments.h"

namespace quality {

/// Pixels across and down a block at the finest scale.
inline constexpr std::size_t blockSide = 32;

/// Q (Wang and Bovik 2002) of pairs of channels: the mean over the blocks, weighted by the pixels that count
/// in each.
class UniversalIndex {
public:
    UniversalIndex(std::size_t columns, std::size_t channels, std::size_t side,
                   std::vector<ChannelPair> pairs);
    UniversalIndex(const UniversalIndex&) = delete;
    UniversalIndex& operator=(const UniversalIndex&) = delete;

    void AddRow(std::span<const Channels> images, const unsigned char* valid) {
        moments.AddRow(images, valid);
    }
    /// Adds the sums of the rows just below. The rows so far must end with whole blocks.
    void Append(UniversalIndex& below);
    /// One number per pair; NaN when no pixel counted. Call it after the last row.
    [[nodiscard]] std::vector<double> Find();

private:
    void Add(const Block& block, const std::vector<ChannelPair>& pairs);

    std::vector<double> sums;
    std::uint64_t pixels = 0;
    BlockMoments moments;
};

/// Q2n, the index of two images as a whole: a pixel is a hypercomplex number with a component per band, in as
/// many dimensions as the next power of 2. Channels are the bands of the image, then those of the reference.
class HypercomplexIndex {
public:
    HypercomplexIndex(std::size_t columns, std::size_t bandCount, std::size_t side);
    HypercomplexIndex(const HypercomplexIndex&) = delete;
    HypercomplexIndex& operator=(const HypercomplexIndex&) = delete;

    void AddRow(std::span<const Channels> images, const unsigned char* valid) {
        moments.AddRow(images, valid);
    }
    /// Adds the sums of the rows just below. The rows so far must end with whole blocks.
    void Append(HypercomplexIndex& below);
    [[nodiscard]] double Find();

private:
    void Add(const Block& block);

    std::size_t bands;
    double sum = 0.0;
    std::uint64_t pixels = 0;
    std::vector<int> signs; ///< of unit i times the conjugate of unit j, by i first
    BlockMoments moments;
};

} // namespace quality
