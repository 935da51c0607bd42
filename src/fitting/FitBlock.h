#pragma once

#include "fitting/Footprint.h"
#include "fundament/Status.h"
#include "hostkit/SampleBlock.h"

#include <array>
#include <cstdint>
#include <vector>

/// The data that blur and gains are fitted to: blocks of multispectral pixels with the pan pixels under them,
/// from files or from memory.
namespace fitting {

/// One block, in numbers.
struct FitBlock {
    hostkit::PixelRect rect; ///< of multispectral pixels
    std::size_t bands = 0;
    std::vector<double> samples;          ///< bands interleaved by pixel
    std::vector<unsigned char> usable;    ///< per pixel: 1, or 0 without data or where a sample is saturated
    hostkit::PixelRect panRect;           ///< the pan pixels under it and a margin; may be empty
    std::vector<unsigned short> pan;      ///< 0 where not usable
    std::vector<unsigned char> panUsable; ///< the same for pan
    Footprint onPan;                      ///< where the pixels of the block lie on pan

    [[nodiscard]] std::size_t GetCount() const { return usable.size(); }
    /// Finds the pan pixels that the block needs: those under it, and two multispectral pixels around it.
    /// `image` gives the size of pan. False when there are none.
    bool FindPan(const KOVA::Tessara::Pixmere::RasterInfo& image);
    /// Takes the samples of panRect and a mask of those that can be used (not 0).
    void SetPan(std::vector<unsigned short> samplesOfPan, std::vector<unsigned char> usableOnes);
    /// Pan's low-pass (hostkit/PanLowPass.h), not rounded, at the centre of each pixel of the block. Unusable
    /// pan pixels are left out; the result is NaN where too few are usable.
    [[nodiscard]] std::vector<double> LowPass(double transfer) const;
    /// True when pan covers everything within `around` multispectral pixels of a pixel's centre.
    [[nodiscard]] bool IsWithinPan(std::size_t pixel, double around) const;
};

/// The number and size of blocks.
struct BlockPlan {
    std::uint32_t blocksAcross = 8; ///< largest number across, and down
    std::uint32_t side = 64;        ///< largest side of a block, in multispectral pixels
};

/// Blocks of multispectral pixels, row by row, spread evenly over an area without overlap. They cover a small
/// area completely. `ratio` is the number of pan pixels per multispectral pixel, across or down: for a large
/// ratio blocks are smaller. None when the area is empty or the ratio exceeds 1024.
[[nodiscard]] std::vector<hostkit::PixelRect> SpreadBlocks(const hostkit::PixelRect& area, double ratio,
                                                           const BlockPlan& plan);

class FitBlockSource {
public:
    virtual ~FitBlockSource() = default;

    [[nodiscard]] virtual std::size_t GetBands() const = 0;
    /// Pan pixels per multispectral pixel, across and down.
    [[nodiscard]] virtual std::array<double, 2> GetRatio() const = 0;
    /// The multispectral pixels that lie on pan.
    [[nodiscard]] virtual hostkit::PixelRect GetArea() const = 0;
    /// Blocks spread over the area without overlap: at most `blocks` across and down, with a side of at most
    /// `side` pixels.
    [[nodiscard]] virtual std::vector<hostkit::PixelRect> Choose(std::uint32_t blocks,
                                                                 std::uint32_t side) const = 0;
    /// Reads a block within the area, with pan up to two multispectral pixels around it. False with an item.
    [[nodiscard]] virtual bool Read(const hostkit::PixelRect& rect, FitBlock& block,
                                    KOVA::Tessara::Fundament::Status& status) = 0;
};

} // namespace fitting
