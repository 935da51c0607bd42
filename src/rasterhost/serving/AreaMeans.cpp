#include "rasterhost/serving/AreaMeans.h"

#include <algorithm>
#include <cmath>

namespace rasterhost {

AreaAxis::AreaAxis(double start, double size, std::uint32_t count, std::uint32_t fineEnd) {
    constexpr double noise = 1e-6; // error of edge positions
    for (std::uint32_t pixel = 0; pixel < count; ++pixel) {
        const double from = start + pixel * size, to = start + (pixel + 1) * size;
        const double first = std::clamp(std::floor(from + noise), 0.0, fineEnd - 1.0);
        const double end = std::clamp(std::ceil(to - noise), first + 1.0, static_cast<double>(fineEnd));
        spans.push_back({from, to, static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(end)});
    }
}

double AreaAxis::ShareOf(std::uint32_t pixel, std::uint32_t fine) const {
    const Span& span = spans[pixel];
    if (span.end - span.first == 1) return 1.0;
    return std::min(span.to, fine + 1.0) - std::max(span.from, static_cast<double>(fine));
}

AreaMeans::AreaMeans(const AreaAxis& acrossAxis, const AreaAxis& downAxis, std::size_t bandCount,
                     std::uint32_t first, std::uint32_t end)
    : across(acrossAxis), down(downAxis), bands(bandCount), firstRow(first), endRow(end),
      sums(std::size_t{end - first} * across.GetCount() * (bands + 1)),
      added(std::size_t{across.GetCount()} * (bands + 1)) {}

template <class T>
void AreaMeans::AddRow(std::uint32_t fineRow, const T* samples, const unsigned char* valid) {
    std::fill(added.begin(), added.end(), 0.0);
    const std::uint32_t start = across.FirstOf(0);
    double* sum = added.data();
    for (std::uint32_t pixel = 0; pixel < across.GetCount(); ++pixel, sum += bands + 1)
        for (std::uint32_t fine = across.FirstOf(pixel); fine < across.EndOf(pixel); ++fine) {
            const std::size_t at = fine - start;
            if (valid && valid[at] == 0) continue;
            const double share = across.ShareOf(pixel, fine);
            for (std::size_t band = 0; band < bands; ++band)
                sum[band] += share * samples[at * bands + band];
            sum[bands] += share;
        }
    for (std::uint32_t row = firstRow; row < endRow; ++row) {
        if (fineRow < down.FirstOf(row) || fineRow >= down.EndOf(row)) continue;
        const double share = down.ShareOf(row, fineRow);
        double* total = sums.data() + (row - firstRow) * added.size();
        for (std::size_t i = 0; i < added.size(); ++i)
            total[i] += share * added[i];
    }
}

template <class T>
void AreaMeans::GetRow(std::uint32_t row, T* out, unsigned char* valid) const {
    const double* sum = sums.data() + (row - firstRow) * added.size();
    for (std::uint32_t pixel = 0; pixel < across.GetCount(); ++pixel, sum += bands + 1) {
        valid[pixel] = sum[bands] > 0.0 ? 0xFF : 0;
        for (std::size_t band = 0; band < bands; ++band)
            *out++ = static_cast<T>(valid[pixel] ? std::floor(sum[band] / sum[bands] + 0.5) : 0.0);
    }
}

template void AreaMeans::AddRow(std::uint32_t, const unsigned char*, const unsigned char*);
template void AreaMeans::AddRow(std::uint32_t, const unsigned short*, const unsigned char*);
template void AreaMeans::GetRow(std::uint32_t, unsigned char*, unsigned char*) const;
template void AreaMeans::GetRow(std::uint32_t, unsigned short*, unsigned char*) const;

} // namespace rasterhost
