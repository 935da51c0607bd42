#include "hostkit/SampledRaster.h"

#include "fundament/Text.h"
#include "hostkit/HostKitStatus.h"
#include "hostkit/RequestRecord.h"

namespace hostkit {

using KOVA::Tessara::Fundament::FormatString;

namespace {

/// The positions of the pan pixels `first` to `end` - 1 along an axis of the source. For a simple ratio they
/// repeat, `numerator` pixels of the source further on.
std::vector<kernels::GridPosition> FindPositions(const kernels::GridAxis& axis, std::uint32_t first,
                                                 std::uint32_t end) {
    std::vector<kernels::GridPosition> positions;
    positions.reserve(end - first);
    const auto period = static_cast<std::size_t>(axis.denominator); // 0 without one
    for (std::uint32_t pixel = first; pixel < end; ++pixel)
        if (period == 0 || positions.size() < period) {
            positions.push_back(kernels::PanToMultispectral(axis, pixel));
        } else {
            const kernels::GridPosition& before = positions[positions.size() - period];
            positions.push_back({before.index + axis.numerator, before.fraction});
        }
    return positions;
}

} // namespace

SampledRaster::SampledRaster() : PlacedWindow("Host.SampledRaster") {}

bool SampledRaster::Open(const AxisPlacement& placement, const PixelRect& panWindow,
                         const RasterInfo& sourceInfo, const SampleBlock& source, Resampling resampling) {
    if (sourceInfo.bitsPerBand != 8 && sourceInfo.bitsPerBand != 16)
        return Fail(HostKitStatus::DepthNotSupported,
                    FormatString("samples of %u bits cannot be interpolated; 8 and 16 bits can",
                                 sourceInfo.bitsPerBand));
    const PixelRect needed = placement.FindSource(panWindow, resampling);
    if (!source.samples || !source.rect.Contains(needed))
        return Fail(HostKitStatus::SourceNotCovered,
                    FormatString("the window needs the source's columns %u to %u and rows %u to %u; the "
                                 "samples at hand do not cover them",
                                 needed.col0, needed.col1, needed.row0, needed.row1));
    info = WindowInfo(placement.GetPan(), panWindow);
    info.bandsPerPixel = sourceInfo.bandsPerPixel;
    info.bitsPerBand = sourceInfo.bitsPerBand;
    info.colorSpace = sourceInfo.colorSpace;
    available = WholeImage(info);
    window = available;

    samples = source;
    const auto columns = FindPositions(placement.GetAcross(), panWindow.col0, panWindow.col1);
    const auto rows = FindPositions(placement.GetDown(), panWindow.row0, panWindow.row1);
    const SamplerShape shape{
        sourceInfo.bitsPerBand, sourceInfo.bandsPerPixel, source.rect.col0, columns, rows,
        sourceInfo.cols,        sourceInfo.rows};
    sampler = MakeRowSampler(shape, resampling);
    validity = source.valid ? std::make_unique<SampledValidity>(shape, resampling, source) : nullptr;
    const std::size_t rowSamples = std::size_t{info.cols} * info.bandsPerPixel;
    output.resize(info.bitsPerBand == 8 ? (rowSamples + 1) / 2 : rowSamples);
    return true;
}

const unsigned char* SampledRaster::GetRow(std::uint32_t row) {
    try {
        if (!HoldsRow(row)) return nullptr;
        sampler->Sample(row, samples, output.data());
        auto* bytes = reinterpret_cast<unsigned char*>(output.data());
        if (validity && validity->Find(row)) validity->SampleSome(bytes);
        return bytes + std::size_t{window.col0} * PixelBytes(info);
    } catch (...) {
        return nullptr;
    }
}

const Reach* SampledRaster::FindReach(std::uint32_t row) {
    return validity && validity->Find(row) ? validity->GetReach().data() : nullptr;
}

} // namespace hostkit
