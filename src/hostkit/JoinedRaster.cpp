#include "hostkit/JoinedRaster.h"

#include "hostkit/RequestRecord.h"

#include <utility>

namespace hostkit {

namespace {

/// Copies the samples of some bands to their positions among all bands.
template <class T>
void Scatter(const T* samples, const std::vector<std::size_t>& bands, std::size_t columns,
             std::size_t allBands, T* out) {
    for (std::size_t band = 0; band < bands.size(); ++band) {
        const T* from = samples + band;
        T* to = out + bands[band];
        for (std::size_t column = 0; column < columns; ++column, from += bands.size(), to += allBands)
            *to = *from;
    }
}

} // namespace

JoinedRaster::JoinedRaster(std::vector<Part> sources)
    : RasterBase("Host.JoinedRaster"), parts(std::move(sources)) {
    info = *parts.front().raster->GetRasterInfo();
    info.bandsPerPixel = 0;
    for (const Part& part : parts)
        info.bandsPerPixel += static_cast<std::uint32_t>(part.bands.size());
    info.colorSpace = info.bandsPerPixel == 1 ? 0 : 1;
    available = WholeImage(info);
    window = available;
    output.resize((info.cols * PixelBytes(info) + 1) / 2);
}

const unsigned char* JoinedRaster::GetRow(std::uint32_t row) {
    try {
        if (!HoldsRow(row)) return nullptr;
        auto* bytes = reinterpret_cast<unsigned char*>(output.data());
        for (const Part& part : parts) {
            const unsigned char* samples = part.raster->GetRow(row);
            if (!samples) {
                status.Append(part.raster->GetStatus());
                return nullptr;
            }
            if (info.bitsPerBand == 8)
                Scatter(samples, part.bands, info.cols, info.bandsPerPixel, bytes);
            else
                Scatter(reinterpret_cast<const unsigned short*>(samples), part.bands, info.cols,
                        info.bandsPerPixel, output.data());
        }
        return bytes + std::size_t{window.col0} * PixelBytes(info);
    } catch (...) {
        return nullptr;
    }
}

} // namespace hostkit
