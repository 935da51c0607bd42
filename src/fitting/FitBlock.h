#pragma once

#include "fitting/Footprint.h"
#include "fundament/Status.h"
#include "hostkit/SampleBlock.h"

#include <array>
#include <cstdint>
#include <vector>

/// What blur and gains are fitted to: blocks of multispectral pixels and pan beneath them, from files or from
/// memory.
namespace fitting {

/// One block as numbers.
struct FitBlock {
    hostkit::PixelRect rect; ///< of multispectral pixels
    std::size_t bands = 0;
    std::vector<double> samples;       ///< the bands of a pixel side by side
    std::vector<unsigned char> usable; ///< 1 for each pixel; 0 without data, and where a sample is saturated
    hostkit::PixelRect panRect;        ///< of the pan pixels beneath and a little around; may be empty
    std::vector<unsigned short> pan;   ///< 0 where not usable
    std::vector<unsigned char> panUsable; ///< as for the bands
    Footprint onPan;                      ///< where the pixels of the block lie on pan

    [[nodiscard]] std::size_t GetCount() const { return usable.size(); }
    /// Finds the pan pixels to have for the block: those beneath and two multispectral pixels around, of an
    /// image of this size. False when there are none.
    bool FindPan(const KOVA::Tessara::Pixmere::RasterInfo& image);
    /// Takes the samples of these pixels, and which can be used: not 0.
    void SetPan(std::vector<unsigned short> samplesOfPan, std::vector<unsigned char> usableOnes);
    /// Pan's low-pass (hostkit/PanLowPass.h), not rounded, at the centre of each pixel of the block. Usable
    /// pixels stand for the others that it is made of; not a number where they are too few.
    [[nodiscard]] std::vector<double> LowPass(double transfer) const;
    /// True where pan covers everything within this many multispectral pixels of a pixel's centre.
    [[nodiscard]] bool IsWithinPan(std::size_t pixel, double around) const;
};

/// How many blocks, and how large.
struct BlockPlan {
    std::uint32_t blocksAcross = 8; ///< and down, at most
    std::uint32_t side = 64;        ///< of a block, in multispectral pixels, at most
};

/// Blocks of multispectral pixels, row by row, that do not overlap and are spread evenly over an area; they
/// cover it all where it is small. `ratio` is how many pan pixels a multispectral one has across, or down:
/// blocks are smaller where it is large. None where the area is empty or the ratio is above 1024.
[[nodiscard]] std::vector<hostkit::PixelRect> SpreadBlocks(const hostkit::PixelRect& area, double ratio,
                                                           const BlockPlan& plan);

class FitBlockSource {
public:
    virtual ~FitBlockSource() = default;

    [[nodiscard]] virtual std::size_t GetBands() const = 0;
    /// Pan pixels across a multispectral pixel, and down.
    [[nodiscard]] virtual std::array<double, 2> GetRatio() const = 0;
    /// The multispectral pixels that lie on pan.
    [[nodiscard]] virtual hostkit::PixelRect GetArea() const = 0;
    /// At most this many blocks across and down, of at most this many pixels, spread over the area without
    /// overlapping.
    [[nodiscard]] virtual std::vector<hostkit::PixelRect> Choose(std::uint32_t blocks,
                                                                 std::uint32_t side) const = 0;
    /// Reads a block within the area, with pan up to two multispectral pixels around it. False with an item.
    [[nodiscard]] virtual bool Read(const hostkit::PixelRect& rect, FitBlock& block,
                                    KOVA::Tessara::Fundament::Status& status) = 0;
};

} // namespace fitting
