#include "hostkit/SampledRaster.h"

#include "fundament/Text.h"
#include "hostkit/HostKitStatus.h"
#include "hostkit/RequestRecord.h"

#include <algorithm>
#include <utility>

namespace hostkit {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Pixmere::RasterInfo;

GridPlacement PlaceGrids(const RasterInfo& pan, const RasterInfo& source) {
    return {kernels::MakeGridAxis(pan.pixelSizeX / source.pixelSizeX,
                                  (pan.xMin - source.xMin) / source.pixelSizeX),
            kernels::MakeGridAxis(pan.pixelSizeY / source.pixelSizeY,
                                  (source.yMax - pan.yMax) / source.pixelSizeY)};
}

PixelRect SourceRect(const GridPlacement& placement, const PixelRect& panWindow, const RasterInfo& source,
                     Resampling resampling) {
    // Cubic interpolation reads one pixel more on either side.
    const std::int64_t more = resampling == Resampling::Cubic ? 1 : 0;
    const auto pixel = [&](const kernels::GridAxis& axis, std::uint32_t pan, std::int64_t step,
                           std::uint32_t pixels) {
        const std::int64_t index = kernels::PanToMultispectral(axis, pan).index + step;
        return static_cast<std::uint32_t>(std::clamp<std::int64_t>(index, 0, std::int64_t{pixels} - 1));
    };
    return {pixel(placement.across, panWindow.col0, -more, source.cols),
            pixel(placement.down, panWindow.row0, -more, source.rows),
            pixel(placement.across, panWindow.col1 - 1, 1 + more, source.cols) + 1,
            pixel(placement.down, panWindow.row1 - 1, 1 + more, source.rows) + 1};
}

WindowPlacement::WindowPlacement(const GridPlacement& placement, const PixelRect& panWindow) {
    for (std::uint32_t column = panWindow.col0; column < panWindow.col1; ++column)
        columns.push_back(kernels::PanToMultispectral(placement.across, column));
    for (std::uint32_t row = panWindow.row0; row < panWindow.row1; ++row)
        rows.push_back(kernels::PanToMultispectral(placement.down, row));
}

SamplerShape WindowPlacement::Shape(const RasterInfo& source, const PixelRect& block) const {
    return {source.bitsPerBand, source.bandsPerPixel, block.col0, columns, rows, source.cols, source.rows};
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
                         const SampleBlock& source, Resampling resampling) {
    if (sourceInfo.bitsPerBand != 8 && sourceInfo.bitsPerBand != 16)
        return Fail(HostKitStatus::DepthNotSupported,
                    FormatString("samples of %u bits cannot be interpolated; 8 and 16 bits can",
                                 sourceInfo.bitsPerBand));
    const GridPlacement placement = PlaceGrids(pan, sourceInfo);
    const PixelRect needed = SourceRect(placement, panWindow, sourceInfo, resampling);
    if (!source.samples || !source.rect.Contains(needed))
        return Fail(HostKitStatus::SourceNotCovered,
                    FormatString("the window needs the source's columns %u to %u and rows %u to %u; the "
                                 "samples at hand do not cover them",
                                 needed.col0, needed.col1, needed.row0, needed.row1));
    info = WindowInfo(pan, panWindow);
    info.bandsPerPixel = sourceInfo.bandsPerPixel;
    info.bitsPerBand = sourceInfo.bitsPerBand;
    info.colorSpace = sourceInfo.colorSpace;
    available = WholeImage(info);
    window = available;

    samples = source;
    const WindowPlacement at(placement, panWindow);
    const SamplerShape shape = at.Shape(sourceInfo, source.rect);
    sampler = MakeRowSampler(shape, resampling);
    validity = source.valid ? std::make_unique<SampledValidity>(shape, resampling, source) : nullptr;
    reach.resize(validity ? info.cols : 0);
    const std::size_t rowSamples = std::size_t{info.cols} * info.bandsPerPixel;
    output.resize(info.bitsPerBand == 8 ? (rowSamples + 1) / 2 : rowSamples);
    return true;
}

const unsigned char* SampledRaster::GetRow(std::uint32_t row) {
    try {
        if (!HoldsRow(row)) return nullptr;
        sampler->Sample(row, samples, output.data());
        auto* bytes = reinterpret_cast<unsigned char*>(output.data());
        const std::size_t pixelBytes = PixelBytes(info);
        if (validity && validity->Find(row, reach.data()))
            for (std::uint32_t column = 0; column < info.cols; ++column)
                if (reach[column] == Reach::Some) validity->Sample(column, row, bytes + column * pixelBytes);
        return bytes + std::size_t{window.col0} * pixelBytes;
    } catch (...) {
        return nullptr;
    }
}

} // namespace hostkit
