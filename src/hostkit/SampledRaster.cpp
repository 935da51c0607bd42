#include "hostkit/SampledRaster.h"

#include "fundament/Text.h"
#include "hostkit/HostKitStatus.h"
#include "hostkit/RequestRecord.h"

#include <utility>

namespace hostkit {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Pixmere::RasterInfo;
using ULong = unsigned long; // what "%lu" takes

GridPlacement PlaceGrids(const RasterInfo& pan, const RasterInfo& source) {
    return {kernels::MakeGridAxis(pan.pixelSizeX / source.pixelSizeX,
                                  (pan.xMin - source.xMin) / source.pixelSizeX),
            kernels::MakeGridAxis(pan.pixelSizeY / source.pixelSizeY,
                                  (source.yMax - pan.yMax) / source.pixelSizeY)};
}

namespace {

kernels::BilinearTap TapOf(const kernels::GridAxis& axis, std::uint32_t pan, std::uint32_t sourcePixels) {
    return kernels::ClampTap(kernels::PanToMultispectral(axis, pan), sourcePixels);
}

/// The taps of pan pixels first to end - 1, moved to a block that starts at source pixel `blockFirst`, in
/// steps of `scale`.
void FillTaps(const kernels::GridAxis& axis, std::uint32_t first, std::uint32_t end,
              std::uint32_t sourcePixels, std::uint32_t blockFirst, std::uint32_t scale,
              std::vector<kernels::BilinearTap>& taps) {
    taps.resize(end - first);
    for (std::uint32_t i = 0; i < end - first; ++i) {
        const kernels::BilinearTap tap = TapOf(axis, first + i, sourcePixels);
        taps[i] = {(tap.first - blockFirst) * scale, (tap.second - blockFirst) * scale, tap.fraction};
    }
}

} // namespace

PixelRect SourceRect(const GridPlacement& placement, const PixelRect& panWindow, const RasterInfo& source) {
    return {TapOf(placement.across, panWindow.col0, source.cols).first,
            TapOf(placement.down, panWindow.row0, source.rows).first,
            TapOf(placement.across, panWindow.col1 - 1, source.cols).second + 1,
            TapOf(placement.down, panWindow.row1 - 1, source.rows).second + 1};
}

namespace {

/// First and end of the pan pixels whose position lies within [-1.5, source pixels + 0.5]: positions count
/// between centres, so the source itself spans -0.5 to its size - 0.5.
std::pair<std::uint32_t, std::uint32_t> CoveredRange(const kernels::GridAxis& axis, std::uint32_t panPixels,
                                                     std::uint32_t sourcePixels) {
    const auto position = [&](std::uint32_t pan) {
        const kernels::GridPosition at = kernels::PanToMultispectral(axis, pan);
        return static_cast<double>(at.index) + at.fraction;
    };
    std::uint32_t first = 0;
    while (first < panPixels && position(first) < -1.5)
        ++first;
    std::uint32_t end = panPixels;
    while (end > first && position(end - 1) > sourcePixels + 0.5)
        --end;
    return {first, end};
}

} // namespace

PixelRect CoveredRect(const GridPlacement& placement, const RasterInfo& pan, const RasterInfo& source) {
    const auto [col0, col1] = CoveredRange(placement.across, pan.cols, source.cols);
    const auto [row0, row1] = CoveredRange(placement.down, pan.rows, source.rows);
    return {col0, row0, col1, row1};
}

SampledRaster::SampledRaster() : RasterBase("Host.SampledRaster") {}

bool SampledRaster::Open(const RasterInfo& pan, const PixelRect& panWindow, const RasterInfo& sourceInfo,
                         const SampleBlock& source) {
    if (sourceInfo.bitsPerBand != 8 && sourceInfo.bitsPerBand != 16)
        return Fail(HostKitStatus::DepthNotSupported,
                    FormatString("samples of %lu bits cannot be interpolated; 8 and 16 bits can",
                                 ULong{sourceInfo.bitsPerBand}));
    const GridPlacement placement = PlaceGrids(pan, sourceInfo);
    const PixelRect needed = SourceRect(placement, panWindow, sourceInfo);
    if (!source.samples || !source.rect.Contains(needed))
        return Fail(HostKitStatus::SourceNotCovered,
                    FormatString("the window needs the source's columns %lu to %lu and rows %lu to %lu; the "
                                 "samples at hand do not cover them",
                                 ULong{needed.col0}, ULong{needed.col1}, ULong{needed.row0},
                                 ULong{needed.row1}));
    info = pan;
    info.cols = panWindow.GetColumns();
    info.rows = panWindow.GetRows();
    info.xMin = pan.xMin + panWindow.col0 * pan.pixelSizeX;
    info.xMax = info.xMin + info.cols * pan.pixelSizeX;
    info.yMax = pan.yMax - panWindow.row0 * pan.pixelSizeY;
    info.yMin = info.yMax - info.rows * pan.pixelSizeY;
    info.bandsPerPixel = sourceInfo.bandsPerPixel;
    info.bitsPerBand = sourceInfo.bitsPerBand;
    info.colorSpace = sourceInfo.colorSpace;
    available = WholeImage(info);
    window = available;

    samples = source;
    std::vector<kernels::BilinearTap> columnTaps;
    FillTaps(placement.across, panWindow.col0, panWindow.col1, sourceInfo.cols, source.rect.col0,
             sourceInfo.bandsPerPixel, columnTaps);
    FillTaps(placement.down, panWindow.row0, panWindow.row1, sourceInfo.rows, 0, 1, rowTaps);
    sampler = MakeRowSampler(info.bitsPerBand, info.bandsPerPixel, std::move(columnTaps), rowTaps);
    const std::size_t rowSamples = std::size_t{info.cols} * info.bandsPerPixel;
    output.resize(info.bitsPerBand == 8 ? (rowSamples + 1) / 2 : rowSamples);
    return true;
}

const unsigned char* SampledRaster::GetRow(std::uint32_t row) {
    try {
        if (!HoldsRow(row)) return nullptr;
        const kernels::BilinearTap& tap = rowTaps[row];
        const std::uint32_t col0 = samples.rect.col0;
        sampler->Sample(tap.first, samples.At(col0, tap.first, 0), tap.second,
                        samples.At(col0, tap.second, 0), tap.fraction, output.data());
        return reinterpret_cast<const unsigned char*>(output.data()) +
               std::size_t{window.col0} * PixelBytes(info);
    } catch (...) {
        return nullptr;
    }
}

} // namespace hostkit
