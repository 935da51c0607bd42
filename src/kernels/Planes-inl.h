// Included once for every vector target (see Highway's foreach_target.h); helpers of the row kernels.
#if defined(PANSHARP_PLANES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PANSHARP_PLANES_INL_H
#undef PANSHARP_PLANES_INL_H
#else
#define PANSHARP_PLANES_INL_H
#endif

#include "kernels/Store.h"

#include <hwy/highway.h>

#include <algorithm>
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
/// More bands than this are left to the scalar definition.
inline constexpr std::uint32_t mostBands = 8;

/// Two neighbouring bands as one number of twice the width, the first band in its low half.
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

/// Copies blockPixels pixels of 5 to 8 bands to where pixels have another number of them, 5 to 8 too; bands
/// that the pixels of `in` lack get any value. Eight samples a pixel are copied, the next pixel's over them.
template <class T>
HWY_INLINE void RespacePixels(const T* HWY_RESTRICT in, std::uint32_t inBands, T* HWY_RESTRICT out,
                              std::uint32_t outBands) {
    constexpr std::size_t last = blockPixels - 1;
    for (std::size_t i = 0; i < last; ++i)
        std::memcpy(out + i * outBands, in + i * inBands, mostBands * sizeof(T));
    std::copy_n(in + last * inBands, std::min(inBands, outBands), out + last * outBands);
}

/// Splits `blockPixels` interleaved pixels of 1 to 8 bands into one plane a band, blockPixels apart.
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

/// As many samples as a vector of D, of float or double, has lanes, as real numbers.
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

/// Within the pixel range, not truncated yet; not-a-number gives 0.
template <class T, class D, class V = hn::Vec<D>>
HWY_INLINE V Clamp(D d, V x) {
    return hn::Min(hn::IfThenElseZero(hn::Ge(x, hn::Zero(d)), x), hn::Set(d, maxSample<T>));
}

/// The whole parts of doubles in [0, largest sample + 1), as samples.
template <class D, class T>
HWY_INLINE void StoreTruncatedLanes(D /*d*/, hn::Vec<D> x, T* samples) {
    const hn::Rebind<std::int32_t, D> d32;
    const hn::Rebind<T, D> narrow;
    hn::StoreU(hn::DemoteTo(narrow, hn::DemoteTo(d32, x)), narrow, samples);
}

/// Calls block(pixels of row 1, of row 2, output pixels) for blocks of two rows. The rest
/// of the rows goes through copies, so that exactly their samples are read and written. For at most mostBands
/// bands each.
template <class T, class Block>
HWY_ATTR void InBlocks(const T* row1, std::uint32_t bands1, const T* row2, std::uint32_t bands2, T* out,
                       std::uint32_t outputBands, std::size_t pixels, const Block& block) {
    std::size_t p = 0;
    for (; p + blockPixels <= pixels; p += blockPixels)
        block(row1 + p * bands1, row2 + p * bands2, out + p * outputBands);
    if (p == pixels) return;
    const std::size_t rest = pixels - p;
    HWY_ALIGN T copy1[blockPixels * mostBands];
    HWY_ALIGN T copy2[blockPixels * mostBands];
    HWY_ALIGN T outCopy[blockPixels * mostBands];
    const auto copy = [&](const T* row, std::uint32_t bands, T* to) {
        std::fill(std::copy_n(row + p * bands, rest * bands, to), to + blockPixels * bands, T{0});
    };
    copy(row1, bands1, copy1);
    copy(row2, bands2, copy2);
    block(static_cast<const T*>(copy1), static_cast<const T*>(copy2), static_cast<T*>(outCopy));
    std::copy_n(outCopy, rest * outputBands, out + p * outputBands);
}

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

/// Where the version for a target stands in a dispatch table of the including file.
static inline std::size_t DispatchIndex(std::int64_t target) {
    hwy::ChosenTarget chosen;
    chosen.Update(target);
    return chosen.GetIndex();
}

} // namespace kernels
#endif

#endif // PANSHARP_PLANES_INL_H
