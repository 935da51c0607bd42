// The samples of an output in vectors of any width, with the same samples as the scalar version.
#include "kernels/LimitedRow.h"
#include "kernels/Simd.h"

#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/LimitedRowSimd.cpp"
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "kernels/Planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

/// The number of samples before the first aligned vector. Only aligned vectors can be written past the cache.
template <class T>
HWY_INLINE std::size_t BeforeWhole(const T* out, std::size_t lanes) {
    return (0 - reinterpret_cast<std::uintptr_t>(out) / sizeof(T)) % lanes;
}

template <class T, bool pastCache>
HWY_ATTR bool LimitInVectors(const T* HWY_RESTRICT samples, std::size_t count, const SampleLimits<T>& limits,
                             T* HWY_RESTRICT out) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    const auto zero = hn::Zero(d), largest = hn::Set(d, limits.largest);
    const auto taken = hn::Set(d, limits.taken), other = hn::Set(d, limits.other);
    std::size_t i = pastCache ? std::min(BeforeWhole(out, lanes), count) : 0;
    bool isAtEnd = LimitRowScalar(samples, i, limits, out);
    auto atEnd = hn::Eq(zero, largest); // nowhere
    for (; i + lanes <= count; i += lanes) {
        const auto within = hn::Min(hn::LoadU(d, samples + i), largest);
        const auto limited = hn::IfThenElse(hn::Eq(within, taken), other, within);
        atEnd = hn::Or(atEnd, hn::Or(hn::Eq(limited, zero), hn::Eq(limited, largest)));
        if constexpr (pastCache)
            hn::Stream(limited, d, out + i);
        else
            hn::StoreU(limited, d, out + i);
    }
    isAtEnd = LimitRowScalar(samples + i, count - i, limits, out + i) || isAtEnd;
    return isAtEnd || !hn::AllFalse(d, atEnd);
}

template <class T>
LimitRow<T> Limit(bool pastCache) {
    return pastCache ? &LimitInVectors<T, true> : &LimitInVectors<T, false>;
}

LimitRow<unsigned char> Limit8(bool pastCache) { return Limit<unsigned char>(pastCache); }
LimitRow<unsigned short> Limit16(bool pastCache) { return Limit<unsigned short>(pastCache); }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(Limit8);
PANSHARP_EXPORT(Limit16);

template <>
LimitRow<unsigned char> LimitRowFor(SimdTarget target, bool pastCache) {
    return ForTarget<LimitRow<unsigned char>>(target, &LimitRowScalar, HWY_DISPATCH_TABLE(Limit8), pastCache);
}

template <>
LimitRow<unsigned short> LimitRowFor(SimdTarget target, bool pastCache) {
    return ForTarget<LimitRow<unsigned short>>(target, &LimitRowScalar, HWY_DISPATCH_TABLE(Limit16),
                                               pastCache);
}

void EndPastCache() { hwy::FlushStream(); }

} // namespace kernels
#endif
