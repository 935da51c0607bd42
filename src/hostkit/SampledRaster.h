#pragma once

#include "hostkit/RasterBase.h"
#include "hostkit/SampledValidity.h"

#include <vector>

namespace hostkit {

/// The grid axes between two images, found from their descriptions in map units.
struct GridPlacement {
    kernels::GridAxis across; ///< columns
    kernels::GridAxis down;   ///< rows
};
/// How the pan grid lies on that of a source, both running along the map's axes.
[[nodiscard]] GridPlacement PlaceGrids(const KOVA::Tessara::Pixmere::RasterInfo& pan,
                                       const KOVA::Tessara::Pixmere::RasterInfo& source);

/// The rectangle of source pixels that a window of the pan grid is interpolated from, within the source.
[[nodiscard]] PixelRect SourceRect(const GridPlacement& placement, const PixelRect& panWindow,
                                   const KOVA::Tessara::Pixmere::RasterInfo& source,
                                   Resampling resampling = Resampling::Bilinear);

/// Where the pixels of a window of the pan grid lie on a source, and what a sampler of it is made for.
struct WindowPlacement {
    std::vector<kernels::GridPosition> columns; ///< of every column of the window
    std::vector<kernels::GridPosition> rows;    ///< of every row

    WindowPlacement() = default;
    /// Positions of a window of the pan grid.
    WindowPlacement(const GridPlacement& placement, const PixelRect& panWindow);
    /// Good for as long as this is; `block` is the part of the source at hand.
    [[nodiscard]] SamplerShape Shape(const KOVA::Tessara::Pixmere::RasterInfo& source,
                                     const PixelRect& block) const;
};

/// The pan pixels that have data in a source: those with their centre on it or up to one source pixel
/// outside, which take its edge samples. Empty when there are none.
[[nodiscard]] PixelRect CoveredRect(const GridPlacement& placement,
                                    const KOVA::Tessara::Pixmere::RasterInfo& pan,
                                    const KOVA::Tessara::Pixmere::RasterInfo& source);

/// A source image brought onto a window of the pan grid by interpolation between pixel centres, edges
/// replicated; samples without data take no part, and what lies beyond the reach of data is undefined
/// (SampledValidity.h). Row and column 0 are the window's first. Rows are computed when they are asked for;
/// in ascending order every source row is interpolated across once.
class SampledRaster final : public RasterBase {
public:
    SampledRaster();

    /// Opens a window of the pan grid over source samples, which must cover SourceRect(). `sourceInfo`
    /// describes the whole source image. False, with an item, when they do not or the depth is neither 8 nor
    /// 16 bits.
    [[nodiscard]] bool Open(const RasterInfo& pan, const PixelRect& panWindow, const RasterInfo& sourceInfo,
                            const SampleBlock& source, Resampling resampling = Resampling::Bilinear);

    /// Computes a row of the window; null, with an item, outside it. Good until the next row.
    const unsigned char* GetRow(std::uint32_t row) override;

private:
    SampleBlock samples;
    std::unique_ptr<RowSampler> sampler;
    std::unique_ptr<SampledValidity> validity; ///< null when all source samples have data
    std::vector<Reach> reach;
    std::vector<unsigned short> output; ///< read as bytes when the depth is 8 bits
};

} // namespace hostkit
