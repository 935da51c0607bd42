#pragma once

#include "quality/BlockMoments.h"

namespace quality {

/// Pixels across and down a block at the finest scale.
inline constexpr std::size_t blockSide = 32;

/// Q of pairs of channels: the mean over the blocks, each by the pixels that count in it.
class UniversalIndex {
public:
    UniversalIndex(std::size_t columns, std::size_t channels, std::size_t side,
                   std::vector<ChannelPair> pairs);
    UniversalIndex(const UniversalIndex&) = delete;
    UniversalIndex& operator=(const UniversalIndex&) = delete;

    void AddRow(std::span<const Channels> images, const unsigned char* valid) {
        moments.AddRow(images, valid);
    }
    /// What is above `below` ends with whole blocks.
    void Append(UniversalIndex& below);
    /// One number a pair, not a number when no pixel counted. After the last row.
    [[nodiscard]] std::vector<double> Find();

private:
    void Add(const Block& block, const std::vector<ChannelPair>& pairs);

    std::vector<double> sums;
    std::uint64_t pixels = 0;
    BlockMoments moments;
};

/// Q2n, the index of two images as a whole: pixels as numbers with a component for every band, in as many
/// dimensions as the next power of 2. Channels are the bands of the image and then those of the reference.
class HypercomplexIndex {
public:
    HypercomplexIndex(std::size_t columns, std::size_t bandCount, std::size_t side);
    HypercomplexIndex(const HypercomplexIndex&) = delete;
    HypercomplexIndex& operator=(const HypercomplexIndex&) = delete;

    void AddRow(std::span<const Channels> images, const unsigned char* valid) {
        moments.AddRow(images, valid);
    }
    /// What is above `below` ends with whole blocks.
    void Append(HypercomplexIndex& below);
    [[nodiscard]] double Find();

private:
    void Add(const Block& block);

    std::size_t bands;
    double sum = 0.0;
    std::uint64_t pixels = 0;
    std::vector<int> signs; ///< of unit i times the conjugate of unit j, i first
    BlockMoments moments;
};

} // namespace quality
