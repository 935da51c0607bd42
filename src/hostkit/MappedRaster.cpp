#include "hostkit/MappedRaster.h"

#include "fundament/Text.h"
#include "hostkit/HostKitStatus.h"
#include "hostkit/MaskedSample.h"
#include "hostkit/RequestRecord.h"
#include "kernels/CubicRow.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace hostkit {

using KOVA::Tessara::Fundament::FormatString;

namespace {

kernels::GridPosition Split(double position) {
    const double whole = std::floor(position);
    return {static_cast<std::int64_t>(whole), position - whole};
}

} // namespace

MappedRaster::MappedRaster() : PlacedWindow("Host.MappedRaster") {}

bool MappedRaster::Open(const RasterInfo& pan, const PixelRect& panWindow, const RasterInfo& sourceInfo,
                        const SampleBlock& source, const PixelMap& map, Resampling resampling) {
    if (sourceInfo.bitsPerBand != 8 && sourceInfo.bitsPerBand != 16)
        return Fail(HostKitStatus::DepthNotSupported,
                    FormatString("samples of %u bits cannot be interpolated; 8 and 16 bits can",
                                 sourceInfo.bitsPerBand));
    if (!source.samples ||
        !source.rect.Contains(map.SourceRect(panWindow, sourceInfo.cols, sourceInfo.rows, resampling)))
        return Fail(HostKitStatus::SourceNotCovered,
                    "the samples at hand do not cover what the window needs");
    info = WindowInfo(pan, panWindow);
    info.bandsPerPixel = sourceInfo.bandsPerPixel;
    info.bitsPerBand = sourceInfo.bitsPerBand;
    info.colorSpace = sourceInfo.colorSpace;
    available = WholeImage(info);
    window = available;
    pixelMap = &map;
    kind = resampling;
    panRect = panWindow;
    samples = source;
    sourceColumns = sourceInfo.cols;
    sourceRows = sourceInfo.rows;
    seen.reset();
    positions.resize(info.cols);
    reach.resize(info.cols);
    output.resize(std::size_t{info.cols} * info.bandsPerPixel);
    return true;
}

/// True when all pixels from so many before a position to so many after have data.
bool MappedRaster::HasAll(const Point& at, int before, int after) const {
    if (!samples.valid) return true;
    const auto clamp = [](std::int64_t index, std::uint32_t pixels) {
        return static_cast<std::uint32_t>(std::clamp<std::int64_t>(index, 0, std::int64_t{pixels} - 1));
    };
    const kernels::GridPosition x = Split(at.x), y = Split(at.y);
    for (int row = -before; row <= after; ++row)
        for (int column = -before; column <= after; ++column)
            if (!HasData(samples, clamp(x.index + column, sourceColumns), clamp(y.index + row, sourceRows)))
                return false;
    return true;
}

template <class T>
void MappedRaster::SampleCubic(const Point& at, T* out) const {
    const kernels::CubicTap x = kernels::MakeCubicTap(Split(at.x), sourceColumns);
    const kernels::CubicTap y = kernels::MakeCubicTap(Split(at.y), sourceRows);
    const std::uint32_t bands = info.bandsPerPixel;
    kernels::CubicTap offsets = x;
    for (std::uint32_t& offset : offsets.at)
        offset = (offset - samples.rect.col0) * bands;
    std::vector<double> across(std::size_t{4} * bands);
    std::array<const double*, 4> rows{};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        double* values = across.data() + i * bands;
        kernels::CubicAcross(reinterpret_cast<const T*>(samples.At(samples.rect.col0, y.at[i], 0)), &offsets,
                             1, bands, values);
        rows[i] = values;
    }
    kernels::CubicDown(rows, y.weights, bands, out);
}

Reach MappedRaster::FindOne(const Point& at) const {
    const bool isWithin =
        at.x >= -1.5 && at.x <= sourceColumns + 0.5 && at.y >= -1.5 && at.y <= sourceRows + 0.5;
    if (!isWithin) return Reach::None;
    if (HasAll(at, 0, 1)) return Reach::All;
    unsigned short none = 0;
    return SampleMasked(samples, 0, kernels::ClampTap(Split(at.x), sourceColumns),
                        kernels::ClampTap(Split(at.y), sourceRows), &none)
               ? Reach::Some
               : Reach::None;
}

/// Finds the positions of a row and the reach of data there, once.
void MappedRaster::Look(std::uint32_t row) {
    if (seen == row) return;
    pixelMap->FindRow(panRect.row0 + row, panRect.col0, panRect.col1, positions.data());
    std::transform(positions.begin(), positions.end(), reach.begin(),
                   [this](const Point& at) { return FindOne(at); });
    hasGaps = std::any_of(reach.begin(), reach.end(), [](Reach found) { return found != Reach::All; });
    seen = row;
}

template <class T>
void MappedRaster::SampleRow(T* out) {
    const std::uint32_t bands = info.bandsPerPixel;
    for (std::size_t column = 0; column < positions.size(); ++column, out += bands) {
        const Point& at = positions[column];
        if (reach[column] == Reach::None) {
            std::fill_n(out, bands, T{0});
            continue;
        }
        if (kind == Resampling::Cubic && reach[column] == Reach::All && HasAll(at, 1, 2)) {
            SampleCubic(at, out);
            continue;
        }
        const kernels::BilinearTap x = kernels::ClampTap(Split(at.x), sourceColumns);
        const kernels::BilinearTap y = kernels::ClampTap(Split(at.y), sourceRows);
        if (reach[column] == Reach::Some) {
            SampleMasked(samples, bands, x, y, out);
            continue;
        }
        const auto row = [&](std::uint32_t columnOfSource, std::uint32_t number) {
            return reinterpret_cast<const T*>(samples.At(columnOfSource, number, bands * sizeof(T)));
        };
        const T *a = row(x.first, y.first), *b = row(x.second, y.first), *c = row(x.first, y.second),
                *d = row(x.second, y.second);
        for (std::uint32_t band = 0; band < bands; ++band)
            out[band] = kernels::BilinearSample(a[band], b[band], c[band], d[band], x.fraction, y.fraction);
    }
}

const unsigned char* MappedRaster::GetRow(std::uint32_t row) {
    try {
        if (!HoldsRow(row)) return nullptr;
        Look(row);
        auto* bytes = reinterpret_cast<unsigned char*>(output.data());
        if (info.bitsPerBand == 8)
            SampleRow(bytes);
        else
            SampleRow(output.data());
        return bytes + std::size_t{window.col0} * PixelBytes(info);
    } catch (...) {
        return nullptr;
    }
}

bool MappedRaster::FindReach(std::uint32_t row, Reach* rowReach) {
    Look(row);
    if (hasGaps) std::copy(reach.begin(), reach.end(), rowReach);
    return hasGaps;
}

} // namespace hostkit
