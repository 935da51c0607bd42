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

MappedRaster::MappedRaster() : RasterBase("Host.MappedRaster") {}

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
    positions.resize(info.cols);
    output.resize(std::size_t{info.cols} * info.bandsPerPixel);
    return true;
}

bool MappedRaster::IsWithin(const PixelMap::Position& at) const {
    return at.x >= -1.5 && at.x <= sourceColumns + 0.5 && at.y >= -1.5 && at.y <= sourceRows + 0.5;
}

/// True when all pixels from so many before a position to so many after have data.
bool MappedRaster::HasAll(const PixelMap::Position& at, int before, int after) const {
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
void MappedRaster::SampleCubic(const PixelMap::Position& at, T* out) const {
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

template <class T>
void MappedRaster::SampleRow(T* out) {
    const std::uint32_t bands = info.bandsPerPixel;
    for (const PixelMap::Position& at : positions) {
        if (!IsWithin(at)) {
            std::fill_n(out, bands, T{0});
        } else if (kind == Resampling::Cubic && HasAll(at, 1, 2)) {
            SampleCubic(at, out);
        } else {
            const kernels::BilinearTap x = kernels::ClampTap(Split(at.x), sourceColumns);
            const kernels::BilinearTap y = kernels::ClampTap(Split(at.y), sourceRows);
            const auto row = [&](std::uint32_t column, std::uint32_t number) {
                return reinterpret_cast<const T*>(samples.At(column, number, bands * sizeof(T)));
            };
            if (HasAll(at, 0, 1)) {
                const T *a = row(x.first, y.first), *b = row(x.second, y.first), *c = row(x.first, y.second),
                        *d = row(x.second, y.second);
                for (std::uint32_t band = 0; band < bands; ++band)
                    out[band] =
                        kernels::BilinearSample(a[band], b[band], c[band], d[band], x.fraction, y.fraction);
            } else if (!SampleMasked(samples, bands, x, y, out)) {
                std::fill_n(out, bands, T{0});
            }
        }
        out += bands;
    }
}

const unsigned char* MappedRaster::GetRow(std::uint32_t row) {
    try {
        if (!HoldsRow(row)) return nullptr;
        pixelMap->FindRow(panRect.row0 + row, panRect.col0, panRect.col1, positions.data());
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

bool MappedRaster::Find(std::uint32_t row, Reach* reach) {
    pixelMap->FindRow(panRect.row0 + row, panRect.col0, panRect.col1, positions.data());
    bool isWhole = true;
    for (const PixelMap::Position& at : positions) {
        *reach = Reach::All;
        if (!IsWithin(at)) {
            *reach = Reach::None;
        } else if (!HasAll(at, 0, 1)) {
            const kernels::BilinearTap x = kernels::ClampTap(Split(at.x), sourceColumns);
            const kernels::BilinearTap y = kernels::ClampTap(Split(at.y), sourceRows);
            unsigned short ignored = 0;
            *reach = SampleMasked(samples, 0, x, y, &ignored) ? Reach::Some : Reach::None;
        }
        isWhole = isWhole && *reach == Reach::All;
        ++reach;
    }
    return !isWhole;
}

} // namespace hostkit
