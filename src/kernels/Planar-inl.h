// Included once for every vector target (see Highway's foreach_target.h); helpers of the row kernels.
#if defined(PANSHARP_PLANAR_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PANSHARP_PLANAR_INL_H
#undef PANSHARP_PLANAR_INL_H
#else
#define PANSHARP_PLANAR_INL_H
#endif

#include "kernels/Store.h"

#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Kernels work on blocks of this many pixels, band by band; a multiple of the lanes of every vector.
inline constexpr std::size_t blockPixels = 128;
/// Rows with more bands are left to the scalar definition.
inline constexpr std::uint32_t mostBands = 8;

/// Two adjacent bands as one number of twice the width, with the first band in its low half.
template <class T>
using PairOf = hwy::MakeWide<T>;

/// Splits a plane of pairs into the planes of its two bands.
template <class T>
HWY_ATTR void SplitPairs(const PairOf<T>* HWY_RESTRICT pairs, T* HWY_RESTRICT first, T* HWY_RESTRICT second) {
    const hn::ScalableTag<PairOf<T>> d;
    const hn::RebindToSigned<decltype(d)> dSigned;
    const hn::Rebind<T, decltype(d)> dHalf;
    const auto low = hn::Set(d, hwy::LimitsMax<T>());
    for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d)) {
        const auto pair = hn::Load(d, pairs + i);
        hn::StoreU(hn::DemoteTo(dHalf, hn::BitCast(dSigned, hn::And(pair, low))), dHalf, first + i);
        hn::StoreU(hn::DemoteTo(dHalf, hn::BitCast(dSigned, hn::ShiftRight<sizeof(T) * 8>(pair))), dHalf,
                   second + i);
    }
}

/// The reverse of SplitPairs.
template <class T>
HWY_ATTR void JoinPairs(const T* HWY_RESTRICT first, const T* HWY_RESTRICT second,
                        PairOf<T>* HWY_RESTRICT pairs) {
    const hn::ScalableTag<PairOf<T>> d;
    const hn::Rebind<T, decltype(d)> dHalf;
    for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d)) {
        const auto low = hn::PromoteTo(d, hn::LoadU(dHalf, first + i));
        const auto high = hn::PromoteTo(d, hn::LoadU(dHalf, second + i));
        hn::Store(hn::Or(low, hn::ShiftLeft<sizeof(T) * 8>(high)), d, pairs + i);
    }
}

/// Copies blockPixels pixels of 5 to 8 bands into pixels with another number of bands, also 5 to 8. Bands
/// that `in` lacks get undefined values. Eight samples are copied per pixel; the next pixel overwrites the
/// surplus.
template <class T>
HWY_INLINE void RespacePixels(const T* HWY_RESTRICT in, std::uint32_t inBands, T* HWY_RESTRICT out,
                              std::uint32_t outBands) {
    constexpr std::size_t last = blockPixels - 1;
    for (std::size_t i = 0; i < last; ++i)
        std::memcpy(out + i * outBands, in + i * inBands, mostBands * sizeof(T));
    std::copy_n(in + last * inBands, std::min(inBands, outBands), out + last * outBands);
}

/// Splits `blockPixels` interleaved pixels of 1 to 8 bands into one plane per band, blockPixels apart.
template <class T>
HWY_ATTR void Deinterleave(const T* HWY_RESTRICT in, std::uint32_t bands, T* HWY_RESTRICT planes) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    hn::Vec<decltype(d)> a, b, c, e;
    switch (bands) {
    case 1:
        for (std::size_t i = 0; i < blockPixels; i += lanes)
            hn::StoreU(hn::LoadU(d, in + i), d, planes + i);
        return;
    case 2:
        for (std::size_t i = 0; i < blockPixels; i += lanes) {
            hn::LoadInterleaved2(d, in + 2 * i, a, b);
            hn::StoreU(a, d, planes + i);
            hn::StoreU(b, d, planes + blockPixels + i);
        }
        return;
    case 3:
        for (std::size_t i = 0; i < blockPixels; i += lanes) {
            hn::LoadInterleaved3(d, in + 3 * i, a, b, c);
            hn::StoreU(a, d, planes + i);
            hn::StoreU(b, d, planes + blockPixels + i);
            hn::StoreU(c, d, planes + 2 * blockPixels + i);
        }
        return;
    case 4:
        for (std::size_t i = 0; i < blockPixels; i += lanes) {
            hn::LoadInterleaved4(d, in + 4 * i, a, b, c, e);
            hn::StoreU(a, d, planes + i);
            hn::StoreU(b, d, planes + blockPixels + i);
            hn::StoreU(c, d, planes + 2 * blockPixels + i);
            hn::StoreU(e, d, planes + 3 * blockPixels + i);
        }
        return;
    default:
        if constexpr (sizeof(T) <= 2) {
            HWY_ALIGN T even[mostBands * blockPixels];
            HWY_ALIGN PairOf<T> pairs[mostBands / 2 * blockPixels];
            HWY_ALIGN T noBand[blockPixels];
            const std::uint32_t pairsOfBands = (bands + 1) / 2;
            if (bands % 2 != 0) RespacePixels(in, bands, even, bands + 1);
            Deinterleave(reinterpret_cast<const PairOf<T>*>(bands % 2 != 0 ? even : in), pairsOfBands, pairs);
            for (std::uint32_t band = 0; band < bands; band += 2)
                SplitPairs(pairs + band / 2 * blockPixels, planes + band * blockPixels,
                           band + 1 == bands ? noBand : planes + (band + 1) * blockPixels);
        }
    }
}

/// The reverse: interleaves 1 to 8 planes, blockPixels apart, into blockPixels pixels.
template <class T>
HWY_ATTR void Interleave(const T* HWY_RESTRICT planes, std::uint32_t bands, T* HWY_RESTRICT out) {
    const hn::ScalableTag<T> d;
    const std::size_t lanes = hn::Lanes(d);
    const auto plane = [&](std::uint32_t band, std::size_t i)
                           HWY_ATTR { return hn::LoadU(d, planes + band * blockPixels + i); };
    switch (bands) {
    case 1:
        for (std::size_t i = 0; i < blockPixels; i += lanes)
            hn::StoreU(plane(0, i), d, out + i);
        return;
    case 2:
        for (std::size_t i = 0; i < blockPixels; i += lanes)
            hn::StoreInterleaved2(plane(0, i), plane(1, i), d, out + 2 * i);
        return;
    case 3:
        for (std::size_t i = 0; i < blockPixels; i += lanes)
            hn::StoreInterleaved3(plane(0, i), plane(1, i), plane(2, i), d, out + 3 * i);
        return;
    case 4:
        for (std::size_t i = 0; i < blockPixels; i += lanes)
            hn::StoreInterleaved4(plane(0, i), plane(1, i), plane(2, i), plane(3, i), d, out + 4 * i);
        return;
    default:
        if constexpr (sizeof(T) <= 2) {
            HWY_ALIGN PairOf<T> pairs[mostBands / 2 * blockPixels];
            HWY_ALIGN T even[mostBands * blockPixels];
            const std::uint32_t pairsOfBands = (bands + 1) / 2;
            for (std::uint32_t band = 0; band < bands; band += 2)
                JoinPairs(planes + band * blockPixels,
                          planes + (band + 1 == bands ? band : band + 1) * blockPixels,
                          pairs + band / 2 * blockPixels);
            Interleave(pairs, pairsOfBands, reinterpret_cast<PairOf<T>*>(bands % 2 != 0 ? even : out));
            if (bands % 2 != 0) RespacePixels(even, bands + 1, out, bands);
        }
    }
}

/// Loads one sample per lane as float or double.
template <class D, class T>
HWY_INLINE hn::Vec<D> LoadReal(D d, const T* samples) {
    const hn::Rebind<std::int32_t, D> d32;
    const hn::Rebind<T, D> narrow;
    const auto whole = hn::PromoteTo(d32, hn::LoadU(narrow, samples));
    if constexpr (sizeof(hn::TFromD<D>) == 4)
        return hn::ConvertTo(d, whole);
    else
        return hn::PromoteTo(d, whole);
}

/// With one rounding of real numbers if the target has fused multiply-add.
template <class V>
HWY_INLINE V AddProduct(V a, V b, V sum) {
    if constexpr (std::is_floating_point_v<hn::TFromV<V>>)
        return hn::MulAdd(a, b, sum);
    else
        return hn::Add(hn::Mul(a, b), sum);
}

/// Limits numbers to the pixel range, without truncating; NaN becomes 0.
template <class T, class D, class V = hn::Vec<D>>
HWY_INLINE V Clamp(D d, V x) {
    return hn::Min(hn::IfThenElseZero(hn::Ge(x, hn::Zero(d)), x), hn::Set(d, maxSample<T>));
}

/// Stores the whole parts of doubles that fit into an int32, limited to the range of T.
template <class D, class T>
HWY_INLINE void StoreTruncatedLanes(D /*d*/, hn::Vec<D> x, T* samples) {
    const hn::Rebind<std::int32_t, D> d32;
    const hn::Rebind<T, D> narrow;
    hn::StoreU(hn::DemoteTo(narrow, hn::DemoteTo(d32, x)), narrow, samples);
}

/// Appends to `uncertain`, which holds `count`, the positions of samples from `at` on whose lanes are true.
/// Returns the new count.
template <class D>
HWY_INLINE std::size_t Mark(D d, hn::Mask<D> isUncertain, std::size_t at, std::size_t samples,
                            std::size_t count, std::uint32_t* uncertain) {
    HWY_ALIGN std::uint8_t bits[8] = {};
    hn::StoreMaskBits(d, isUncertain, bits);
    for (std::size_t lane = 0; lane < samples; ++lane)
        if ((bits[lane / 8] >> (lane % 8) & 1) != 0)
            uncertain[count++] = static_cast<std::uint32_t>(at + lane);
    return count;
}

template <class T>
struct InputRow {
    const T* samples;
    std::uint32_t bands; ///< 0 for no row
};

/// Calls block(pixels of the input rows, output pixels) for blocks of the rows. The last pixels go through
/// copies, so that only samples of the rows are read and written. For at most mostBands bands per row.
template <class T, std::size_t Rows, class Block>
HWY_ATTR void InBlocks(const InputRow<T> (&rows)[Rows], T* out, std::uint32_t outputBands, std::size_t pixels,
                       const Block& block) {
    std::array<const T*, Rows> inputs = {};
    std::size_t p = 0;
    for (; p + blockPixels <= pixels; p += blockPixels) {
        for (std::size_t r = 0; r < Rows; ++r)
            inputs[r] = rows[r].samples + p * rows[r].bands;
        block(inputs, out + p * outputBands);
    }
    if (p == pixels) return;
    const std::size_t rest = pixels - p;
    HWY_ALIGN T copies[Rows][blockPixels * mostBands];
    HWY_ALIGN T outCopy[blockPixels * mostBands];
    for (std::size_t r = 0; r < Rows; ++r) {
        const std::uint32_t bands = rows[r].bands;
        std::fill(std::copy_n(rows[r].samples + p * bands, rest * bands, copies[r]),
                  copies[r] + blockPixels * bands, T{0});
        inputs[r] = copies[r];
    }
    block(inputs, static_cast<T*>(outCopy));
    std::copy_n(outCopy, rest * outputBands, out + p * outputBands);
}

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
/// The function's versions, one per vector target, as HWY_DISPATCH_TABLE(function). HWY_EXPORT would put a
/// function of Highway's library first, which no caller of ForTarget needs (see CMakeLists.txt).
#define PANSHARP_EXPORT(function)                                                                            \
    static decltype(&HWY_STATIC_DISPATCH(function)) const HWY_DISPATCH_TABLE(                                \
        function)[HWY_MAX_DYNAMIC_TARGETS + 2] = {nullptr, HWY_CHOOSE_TARGET_LIST(function),                 \
                                                  HWY_CHOOSE_FALLBACK(function)}

namespace kernels {

/// The version for a target, from the including file's dispatch table, or the scalar definition for target 0.
template <class Result, class... Arguments>
inline Result ForTarget(std::int64_t target, Result scalar, Result (*const table[])(Arguments...),
                        std::type_identity_t<Arguments>... arguments) {
    if (target == 0) return scalar;
    hwy::ChosenTarget chosen;
    chosen.Update(target);
    return table[chosen.GetIndex()](arguments...);
}

} // namespace kernels
#endif

#endif // PANSHARP_PLANAR_INL_H
