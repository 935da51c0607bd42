// Rows of a mask as bits, in vectors of any width.
#include "kernels/GapRow.h"
#include "kernels/Simd.h"

#include <algorithm>

#ifndef HWY_TARGET_INCLUDE // not joined with others
#define HWY_TARGET_INCLUDE "kernels/GapRowSimd.cpp"
#endif
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/highway.h>

#include "kernels/Planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

/// The bits of gapBits bytes.
HWY_INLINE std::uint32_t FindGaps(const unsigned char* HWY_RESTRICT valid) {
    const hn::CappedTag<std::uint8_t, gapBits> d;
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < gapBits; i += hn::Lanes(d)) {
        unsigned char bytes[gapBits / 8] = {};
        const std::size_t count = hn::StoreMaskBits(d, hn::Eq(hn::LoadU(d, valid + i), hn::Zero(d)), bytes);
        for (std::size_t byte = 0; byte < count; ++byte)
            word |= std::uint32_t{bytes[byte]} << (i + 8 * byte);
    }
    return word;
}

HWY_ATTR GapCount FindRowGaps(const unsigned char* HWY_RESTRICT valid, std::size_t pixels,
                              std::uint32_t* HWY_RESTRICT words) {
    GapCount count;
    std::uint32_t before = 0; // 1 after a pixel without data
    const auto add = [&](const unsigned char* bytes) HWY_ATTR {
        const std::uint32_t word = FindGaps(bytes);
        const std::uint32_t starts = word & ~(word << 1 | before);
        before = word >> (gapBits - 1);
        count.pixels += static_cast<std::size_t>(__builtin_popcount(word));
        count.runs += static_cast<std::size_t>(__builtin_popcount(starts));
        *words++ = word;
    };
    std::size_t i = 0;
    for (; i + gapBits <= pixels; i += gapBits)
        add(valid + i);
    if (i == pixels) return count;
    unsigned char last[gapBits];
    std::fill(std::copy(valid + i, valid + pixels, last), last + gapBits, static_cast<unsigned char>(1));
    add(last);
    return count;
}

GapRow Gaps() { return &FindRowGaps; }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(Gaps);

GapRow GapRowFor(SimdTarget target) {
    return ForTarget<GapRow>(target, &GapRowScalar, HWY_DISPATCH_TABLE(Gaps));
}

} // namespace kernels
#endif
