#pragma once

#include "hostkit/PixelMap.h"
#include "hostkit/RasterBase.h"
#include "hostkit/SampledValidity.h"

#include <vector>

namespace hostkit {

/// A source image brought onto a window of the pan grid by way of a map: pixel by pixel, with the samples
/// that the separable way has at the same positions. Data reach one source pixel beyond the source's edge
/// and, like there, less than one beyond pixels without data.
class MappedRaster final : public RasterBase, public ReachFinder {
public:
    MappedRaster();

    /// Opens a window over source samples, which must cover the map's SourceRect(). The map outlives the
    /// raster. False, with an item, when they do not or the depth is neither 8 nor 16 bits.
    [[nodiscard]] bool Open(const RasterInfo& pan, const PixelRect& panWindow, const RasterInfo& sourceInfo,
                            const SampleBlock& source, const PixelMap& map, Resampling resampling);

    /// Computes a row of the window; null, with an item, outside it. Good until the next row.
    const unsigned char* GetRow(std::uint32_t row) override;
    bool Find(std::uint32_t row, Reach* reach) override;

private:
    template <class T>
    void SampleRow(T* out);
    template <class T>
    void SampleCubic(const PixelMap::Position& at, T* out) const;
    [[nodiscard]] bool IsWithin(const PixelMap::Position& at) const;
    [[nodiscard]] bool HasAll(const PixelMap::Position& at, int before, int after) const;

    const PixelMap* pixelMap = nullptr;
    Resampling kind = Resampling::Bilinear;
    PixelRect panRect;
    SampleBlock samples;
    std::uint32_t sourceColumns = 0;
    std::uint32_t sourceRows = 0;
    std::vector<PixelMap::Position> positions; ///< of one row
    std::vector<unsigned short> output;        ///< read as bytes when the depth is 8 bits
};

} // namespace hostkit
