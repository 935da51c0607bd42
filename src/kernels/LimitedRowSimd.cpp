// The samples of an output in vectors of any width, with the same samples as the scalar version.
#include "kernels/LimitedRow.h"
#include "kernels/Simd.h"
#include "kernels/SpreadPlan.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#ifndef HWY_TARGET_INCLUDE // not joined with others
#define HWY_TARGET_INCLUDE "kernels/LimitedRowSimd.cpp"
#endif
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

/// Samples within the limits.
template <class V>
HWY_INLINE V Limited(V samples, V largest, V taken, V other) {
    const auto within = hn::Min(samples, largest);
    return hn::IfThenElse(hn::Eq(within, taken), other, within);
}

template <class V>
HWY_INLINE auto AreAtEnd(V limited, V zero, V largest) {
    return hn::Or(hn::Eq(limited, zero), hn::Eq(limited, largest));
}

template <bool pastCache, class D>
HWY_INLINE void Write(D d, hn::Vec<D> made, hn::TFromD<D>* out) {
    if constexpr (pastCache)
        hn::Stream(made, d, out);
    else
        hn::StoreU(made, d, out);
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
    auto atEnd = hn::Ne(zero, zero); // nowhere
    for (; i + lanes <= count; i += lanes) {
        const auto limited = Limited(hn::LoadU(d, samples + i), largest, taken, other);
        atEnd = hn::Or(atEnd, AreAtEnd(limited, zero, largest));
        Write<pastCache>(d, limited, out + i);
    }
    isAtEnd = LimitRowScalar(samples + i, count - i, limits, out + i) || isAtEnd;
    return isAtEnd || !hn::AllFalse(d, atEnd);
}

#if HWY_TARGET != HWY_SCALAR

/// Mask bytes that are looked at together: a table of bytes has as many entries.
inline constexpr std::size_t maskBytes = 16;
/// Samples of the longest vector that is used.
inline constexpr std::size_t mostLanes = 64;

/// For every number of bands: the pixel of each byte of a row's samples, from the row's first.
template <class T>
struct PixelsOfBytes {
    std::uint8_t of[mostBands + 1][(mostLanes + mostBands) * sizeof(T)] = {};

    constexpr PixelsOfBytes() {
        for (std::uint32_t bands = 1; bands <= mostBands; ++bands)
            for (std::size_t i = 0; i < (mostLanes + mostBands) * sizeof(T); ++i)
                of[bands][i] = static_cast<std::uint8_t>(i / sizeof(T) / bands);
    }
};
template <class T>
inline constexpr PixelsOfBytes<T> pixelsOfBytes;

/// In vectors of at most `Lanes` samples, or of fewer where as many could belong to more than maskBytes
/// pixels.
template <class T, bool pastCache, std::size_t Lanes>
HWY_ATTR bool LimitGappedInVectors(const GappedRow<T>& row, const SampleLimits<T>& limits,
                                   T* HWY_RESTRICT out) {
    const hn::CappedTag<T, Lanes> d;
    const hn::Repartition<std::uint8_t, decltype(d)> d8;
    const std::size_t lanes = hn::Lanes(d), count = row.pixels * row.bands;
    const std::uint32_t bands = row.bands, lanes32 = static_cast<std::uint32_t>(lanes);
    const std::uint32_t wholePixels = lanes32 / bands, restSamples = lanes32 % bands;
    std::size_t i = pastCache ? std::min(BeforeWhole(out, lanes), count) : 0;
    // The first vector begins with this pixel, and with this of its samples.
    std::size_t pixel = i == 0 ? 0 : i / bands, sample = i - pixel * bands;
    if constexpr (Lanes > maskBytes) {
        const std::size_t mostSample = restSamples == 0 ? sample : bands - 1;
        if (mostSample + lanes > maskBytes * bands)
            return LimitGappedInVectors<T, pastCache, Lanes / 2>(row, limits, out);
    }
    const auto zero = hn::Zero(d), largest = hn::Set(d, limits.largest), taken = hn::Set(d, limits.taken);
    const auto other = hn::Set(d, limits.other), none = hn::Set(d, row.none);
    bool isAtEnd = LimitGappedSamples(row, 0, i, limits, out);
    auto atEnd = hn::Ne(zero, zero); // nowhere
    for (; i + lanes <= count; i += lanes) {
        HWY_ALIGN unsigned char last[maskBytes] = {};
        const unsigned char* valid = row.valid + pixel;
        if (pixel + maskBytes > row.pixels) {
            std::copy_n(valid, row.pixels - pixel, last);
            valid = last;
        }
        const auto places = hn::LoadU(d8, pixelsOfBytes<T>.of[bands] + sample * sizeof(T));
        const auto has = hn::BitCast(d, hn::TableLookupBytes(hn::LoadDup128(d8, valid), places));
        const auto isGap = hn::Eq(has, zero);
        const auto limited = Limited(hn::LoadU(d, row.samples + i), largest, taken, other);
        atEnd = hn::Or(atEnd, hn::AndNot(isGap, AreAtEnd(limited, zero, largest)));
        Write<pastCache>(d, hn::IfThenElse(isGap, none, limited), out + i);
        pixel += wholePixels;
        sample += restSamples;
        if (sample >= bands) sample -= bands, ++pixel;
    }
    isAtEnd = LimitGappedSamples(row, i, count, limits, out) || isAtEnd;
    return isAtEnd || !hn::AllFalse(d, atEnd);
}

template <class T, bool pastCache>
HWY_ATTR bool LimitGapped(const GappedRow<T>& row, const SampleLimits<T>& limits, T* out) {
    if (row.bands > mostBands || row.bands == 0) return LimitGappedScalar(row, limits, out);
    return LimitGappedInVectors<T, pastCache, mostLanes>(row, limits, out);
}

#if HWY_HAVE_SCALABLE
inline constexpr std::size_t spreadBytes = SpreadPlan::blockBytes;
#else
inline constexpr std::size_t spreadBytes =
    std::min<std::size_t>(HWY_LANES(std::uint8_t), SpreadPlan::mostBytes);
#endif

/// A vector whose blocks of 16 bytes are read from the given places.
template <class D>
HWY_INLINE hn::Vec<D> LoadBlocks(D d, const std::uint8_t* bytes, const std::uint8_t* places) {
    if constexpr (hn::MaxLanes(d) <= SpreadPlan::blockBytes) {
        return hn::LoadU(d, bytes + *places);
    } else {
        const hn::Half<D> half;
        constexpr std::size_t blocks = hn::MaxLanes(half) / SpreadPlan::blockBytes;
        return hn::Combine(d, LoadBlocks(half, bytes, places + blocks), LoadBlocks(half, bytes, places));
    }
}

/// The bytes from a place on, of which a vector reads `reach`: a copy where so many do not follow.
HWY_INLINE const std::uint8_t* WithRoom(const std::uint8_t* bytes, std::size_t follow, std::size_t reach,
                                        std::uint8_t* copy) {
    if (follow >= reach) return bytes;
    std::memcpy(copy, bytes, follow);
    return copy;
}

template <class T, bool pastCache, bool hasGaps>
HWY_ATTR bool LimitSpreadInVectors(const GappedRow<T>& row, const SampleLimits<T>& limits,
                                   T* HWY_RESTRICT out) {
    const hn::CappedTag<T, spreadBytes / sizeof(T)> d;
    const hn::Repartition<std::uint8_t, decltype(d)> d8;
    constexpr std::size_t lastBlock = spreadBytes / SpreadPlan::blockBytes - 1;
    const std::size_t lanes = hn::Lanes(d), outBands = row.bands + 1, count = row.pixels * outBands;
    const std::size_t wholePixels = lanes / outBands, restSamples = lanes % outBands;
    const auto* samples = reinterpret_cast<const std::uint8_t*>(row.samples);
    const std::size_t bytes = row.pixels * row.bands * sizeof(T);
    const auto zero = hn::Zero(d), largest = hn::Set(d, limits.largest), taken = hn::Set(d, limits.taken);
    const auto other = hn::Set(d, limits.other), none = hn::Set(d, row.none);
    const auto absent = hn::BitCast(d, hn::Set(d8, SpreadPlan::absent));
    const auto greatest = hn::Set(d, std::numeric_limits<T>::max());
    // The last block of a vector begins at most 48 bytes after its first, so 64 bytes are read at most.
    std::uint8_t lastSamples[SpreadPlan::mostBytes] = {};
    std::uint8_t lastValid[SpreadPlan::mostBytes] = {};
    std::size_t i = pastCache ? std::min(BeforeWhole(out, lanes), count) : 0;
    std::size_t pixel = i / outBands, sample = i % outBands; // with which the next vector begins
    bool isAtEnd = LimitSpreadSamples(row, 0, i, limits, out);
    auto atEnd = hn::Ne(zero, zero); // nowhere
    for (; i + lanes <= count; i += lanes) {
        const SpreadPlan& plan = spreadPlans<T>.of[row.bands][sample];
        const std::size_t at = (pixel * row.bands + sample) * sizeof(T);
        const auto in = LoadBlocks(
            d8,
            WithRoom(samples + at, bytes - at, plan.blocks[lastBlock] + SpreadPlan::blockBytes, lastSamples),
            plan.blocks);
        const auto from = hn::LoadU(d8, plan.from);
        const auto isLast = hn::Eq(hn::BitCast(d, from), absent);
        const auto limited =
            Limited(hn::BitCast(d, hn::TableLookupBytesOr0(in, from)), largest, taken, other);
        auto isOut = isLast; // no sample with data
        auto made = hn::IfThenElse(isLast, greatest, limited);
        if constexpr (hasGaps) {
            const auto valid =
                LoadBlocks(d8,
                           WithRoom(row.valid + pixel, row.pixels - pixel,
                                    plan.blockPixels[lastBlock] + SpreadPlan::blockBytes, lastValid),
                           plan.blockPixels);
            const auto has = hn::BitCast(d, hn::TableLookupBytes(valid, hn::LoadU(d8, plan.pixels)));
            const auto isGap = hn::Eq(has, zero);
            isOut = hn::Or(isLast, isGap);
            made = hn::IfThenElse(isGap, hn::IfThenElse(isLast, zero, none), made);
        }
        atEnd = hn::Or(atEnd, hn::AndNot(isOut, AreAtEnd(limited, zero, largest)));
        Write<pastCache>(d, made, out + i);
        pixel += wholePixels;
        sample += restSamples;
        if (sample >= outBands) sample -= outBands, ++pixel;
    }
    isAtEnd = LimitSpreadSamples(row, i, count, limits, out) || isAtEnd;
    return isAtEnd || !hn::AllFalse(d, atEnd);
}

template <class T, bool pastCache>
HWY_ATTR bool LimitSpread(const GappedRow<T>& row, const SampleLimits<T>& limits, T* out) {
    if (row.bands > SpreadPlan::mostBands || row.bands == 0) return LimitSpreadScalar(row, limits, out);
    return row.valid ? LimitSpreadInVectors<T, pastCache, true>(row, limits, out)
                     : LimitSpreadInVectors<T, pastCache, false>(row, limits, out);
}

#else

template <class T, bool>
bool LimitSpread(const GappedRow<T>& row, const SampleLimits<T>& limits, T* out) {
    return LimitSpreadScalar(row, limits, out);
}

template <class T, bool>
bool LimitGapped(const GappedRow<T>& row, const SampleLimits<T>& limits, T* out) {
    return LimitGappedScalar(row, limits, out);
}

#endif

template <class T>
LimitRows<T> Limit(bool pastCache) {
    if (pastCache) return {&LimitInVectors<T, true>, &LimitGapped<T, true>, &LimitSpread<T, true>};
    return {&LimitInVectors<T, false>, &LimitGapped<T, false>, &LimitSpread<T, false>};
}

LimitRows<unsigned char> Limit8(bool pastCache) { return Limit<unsigned char>(pastCache); }
LimitRows<unsigned short> Limit16(bool pastCache) { return Limit<unsigned short>(pastCache); }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(Limit8);
PANSHARP_EXPORT(Limit16);

template <>
LimitRows<unsigned char> LimitRowsFor(SimdTarget target, bool pastCache) {
    return ForTarget(target,
                     LimitRows<unsigned char>{&LimitRowScalar, &LimitGappedScalar, &LimitSpreadScalar},
                     HWY_DISPATCH_TABLE(Limit8), pastCache);
}

template <>
LimitRows<unsigned short> LimitRowsFor(SimdTarget target, bool pastCache) {
    return ForTarget(target,
                     LimitRows<unsigned short>{&LimitRowScalar, &LimitGappedScalar, &LimitSpreadScalar},
                     HWY_DISPATCH_TABLE(Limit16), pastCache);
}

void EndPastCache() { hwy::FlushStream(); }

} // namespace kernels
#endif
