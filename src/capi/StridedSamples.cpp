#include "capi/StridedSamples.h"

#include "hostkit/StridedCopy.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <utility>

namespace capi {

namespace {

constexpr auto largestOffset = static_cast<std::uintptr_t>(std::numeric_limits<std::ptrdiff_t>::max());

std::uintptr_t Magnitude(std::ptrdiff_t stride) {
    return stride < 0 ? std::uintptr_t{0} - static_cast<std::uintptr_t>(stride)
                      : static_cast<std::uintptr_t>(stride);
}

/// False when the product is too large for an offset.
bool Multiply(std::uintptr_t a, std::uintptr_t b, std::uintptr_t& product) {
    if (b != 0 && a > largestOffset / b) return false;
    product = a * b;
    return true;
}

std::array<std::pair<std::ptrdiff_t, std::uint32_t>, 3> Steps(const Layout& layout) {
    return {{{layout.rowStride, layout.rows},
             {layout.pixelStride, layout.columns},
             {layout.bandStride, layout.bands}}};
}

void CopySamples(std::uint32_t sampleBytes, const unsigned char* source, std::ptrdiff_t sourceStride,
                 unsigned char* target, std::ptrdiff_t targetStride, std::uint32_t count) {
    const auto copy =
        sampleBytes == 1 ? &hostkit::CopyStrided<unsigned char> : &hostkit::CopyStrided<unsigned short>;
    copy(source, sourceStride, target, targetStride, count);
}

} // namespace

bool Layout::IsPacked(const unsigned char* samples) const {
    return bandOrder.empty() && bandStride == static_cast<std::ptrdiff_t>(sampleBytes) &&
           pixelStride == static_cast<std::ptrdiff_t>(sampleBytes) * bands && rowStride >= 0 &&
           rowStride % sampleBytes == 0 && reinterpret_cast<std::uintptr_t>(samples) % sampleBytes == 0;
}

bool FillStrides(Layout& layout) {
    const auto steps = Steps(layout);
    const auto isZero = [](const auto& step) { return step.first == 0; };
    if (!std::all_of(steps.begin(), steps.end(), isZero))
        return std::none_of(steps.begin(), steps.end(),
                            [](const auto& step) { return step.first == 0 && step.second > 1; });
    std::uintptr_t rowBytes = 0;
    if (!Multiply(std::uintptr_t{layout.bands} * layout.sampleBytes, layout.columns, rowBytes)) return false;
    layout.bandStride = static_cast<std::ptrdiff_t>(layout.sampleBytes);
    layout.pixelStride = layout.bandStride * layout.bands;
    layout.rowStride = static_cast<std::ptrdiff_t>(rowBytes);
    return true;
}

std::optional<AddressRange> FindRange(const void* samples, const Layout& layout) {
    std::uintptr_t before = 0, after = layout.sampleBytes;
    for (const auto& [stride, count] : Steps(layout)) {
        std::uintptr_t bytes = 0;
        if (!Multiply(Magnitude(stride), count - 1, bytes)) return std::nullopt;
        std::uintptr_t& side = stride < 0 ? before : after;
        if (bytes > largestOffset - side) return std::nullopt;
        side += bytes;
    }
    const auto first = reinterpret_cast<std::uintptr_t>(samples);
    if (before > first || after > std::numeric_limits<std::uintptr_t>::max() - first) return std::nullopt;
    return AddressRange{first - before, first + after};
}

bool KeepsSamplesApart(const Layout& layout) {
    auto steps = Steps(layout);
    std::sort(steps.begin(), steps.end(),
              [](const auto& a, const auto& b) { return Magnitude(a.first) < Magnitude(b.first); });
    std::uintptr_t span = layout.sampleBytes;
    for (const auto& [stride, count] : steps) {
        if (count == 1) continue;
        if (Magnitude(stride) < span) return false;
        span += Magnitude(stride) * (count - 1);
    }
    return true;
}

hostkit::SampleBlock MakeBlock(const unsigned char* samples, const Layout& layout,
                               const hostkit::PixelRect& rect, std::vector<unsigned short>& buffer) {
    const std::uint32_t bytes = layout.sampleBytes;
    if (layout.IsPacked(samples))
        return {samples, static_cast<std::size_t>(layout.rowStride), {0, 0, layout.columns, layout.rows}};
    const std::vector<std::uint32_t>& order = layout.bandOrder;
    const std::size_t bands = order.empty() ? layout.bands : order.size();
    const std::size_t pixelBytes = bands * bytes;
    const std::size_t rowBytes = rect.GetColumns() * pixelBytes;
    buffer.resize((rowBytes * rect.GetRows() + 1) / 2);
    auto* target = reinterpret_cast<unsigned char*>(buffer.data());
    for (std::uint32_t row = rect.row0; row < rect.row1; ++row, target += rowBytes)
        for (std::uint32_t place = 0; place < bands; ++place)
            CopySamples(bytes, samples + layout.At(rect.col0, row, order.empty() ? place : order[place]),
                        layout.pixelStride, target + std::size_t{place} * bytes,
                        static_cast<std::ptrdiff_t>(pixelBytes), rect.GetColumns());
    return {reinterpret_cast<const unsigned char*>(buffer.data()), rowBytes, rect};
}

void StoreRow(const unsigned char* source, std::uint32_t sourceBands, const std::vector<std::uint32_t>& bands,
              unsigned char* samples, const Layout& layout, std::uint32_t row) {
    const std::size_t bytes = layout.sampleBytes;
    bool asTheyAre = layout.bands == sourceBands;
    for (std::uint32_t band = 0; band < layout.bands && asTheyAre; ++band)
        asTheyAre = bands[band] == band;
    if (asTheyAre && layout.IsPacked(samples)) {
        std::memcpy(samples + layout.At(0, row, 0), source,
                    std::size_t{layout.columns} * sourceBands * bytes);
        return;
    }
    for (std::uint32_t band = 0; band < layout.bands; ++band)
        CopySamples(layout.sampleBytes, source + bands[band] * bytes,
                    static_cast<std::ptrdiff_t>(sourceBands * bytes), samples + layout.At(0, row, band),
                    layout.pixelStride, layout.columns);
}

} // namespace capi
