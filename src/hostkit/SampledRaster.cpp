#include "hostkit/SampledRaster.h"

#include "fundament/Text.h"
#include "hostkit/HostKitStatus.h"
#include "hostkit/RequestRecord.h"

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
    FillTaps(placement.across, panWindow.col0, panWindow.col1, sourceInfo.cols, source.rect.col0,
             sourceInfo.bandsPerPixel, columnTaps);
    FillTaps(placement.down, panWindow.row0, panWindow.row1, sourceInfo.rows, 0, 1, rowTaps);
    rowSamples = std::size_t{info.cols} * info.bandsPerPixel;
    for (InterpolatedRow& row : interpolated) {
        row.sourceRow.reset();
        row.values.resize(rowSamples);
    }
    output.resize(info.bitsPerBand == 8 ? (rowSamples + 1) / 2 : rowSamples);
    return true;
}

template <class T>
const double* SampledRaster::InterpolateAcross(std::uint32_t sourceRow, std::uint32_t keptRow) {
    for (const InterpolatedRow& row : interpolated)
        if (row.sourceRow == sourceRow) return row.values.data();
    InterpolatedRow& row = interpolated[interpolated[0].sourceRow == keptRow ? 1 : 0];
    const unsigned char* source = samples.At(samples.rect.col0, sourceRow, 0);
    kernels::ChooseAcrossRow<T>(info.bandsPerPixel)(reinterpret_cast<const T*>(source), columnTaps.data(),
                                                    info.cols, info.bandsPerPixel, row.values.data());
    row.sourceRow = sourceRow;
    return row.values.data();
}

template <class T>
void SampledRaster::ComputeRow(std::uint32_t row) {
    const kernels::BilinearTap& tap = rowTaps[row];
    const double* upper = InterpolateAcross<T>(tap.first, tap.second);
    const double* lower = InterpolateAcross<T>(tap.second, tap.first);
    kernels::DownRow(upper, lower, tap.fraction, rowSamples, reinterpret_cast<T*>(output.data()));
}

const unsigned char* SampledRaster::GetRow(std::uint32_t row) {
    try {
        if (!HoldsRow(row)) return nullptr;
        if (info.bitsPerBand == 8)
            ComputeRow<unsigned char>(row);
        else
            ComputeRow<unsigned short>(row);
        return reinterpret_cast<const unsigned char*>(output.data()) +
               std::size_t{window.col0} * PixelBytes(info);
    } catch (...) {
        return nullptr;
    }
}

} // namespace hostkit
