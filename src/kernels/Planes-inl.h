// Included once for every vector target (see Highway's foreach_target.h); a helper of the fusing kernels.
#if defined(PANSHARP_PLANES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PANSHARP_PLANES_INL_H
#undef PANSHARP_PLANES_INL_H
#else
#define PANSHARP_PLANES_INL_H
#endif

#include "kernels/FusionRow.h"
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

/// What quick ways work in: holds sums of samples with bits to spare.
template <class T>
using RealOf = std::conditional_t<sizeof(T) == 1, float, double>;

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

/// Splits `blockPixels` interleaved pixels into one plane a band, blockPixels apart.
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
    case 6:
    case 8:
        if constexpr (sizeof(T) <= 2) {
            HWY_ALIGN PairOf<T> pairs[mostBands / 2 * blockPixels];
            Deinterleave(reinterpret_cast<const PairOf<T>*>(in), bands / 2, pairs);
            for (std::uint32_t band = 0; band < bands; band += 2)
                SplitPairs(pairs + band / 2 * blockPixels, planes + band * blockPixels,
                           planes + (band + 1) * blockPixels);
        }
        return;
    default:
        for (std::size_t i = 0; i < blockPixels; ++i)
            for (std::uint32_t band = 0; band < bands; ++band)
                planes[band * blockPixels + i] = in[i * bands + band];
    }
}

/// The reverse: interleaves planes, blockPixels apart, into blockPixels pixels.
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
    case 6:
    case 8:
        if constexpr (sizeof(T) <= 2) {
            HWY_ALIGN PairOf<T> pairs[mostBands / 2 * blockPixels];
            for (std::uint32_t band = 0; band < bands; band += 2)
                JoinPairs(planes + band * blockPixels, planes + (band + 1) * blockPixels,
                          pairs + band / 2 * blockPixels);
            Interleave(pairs, bands / 2, reinterpret_cast<PairOf<T>*>(out));
        }
        return;
    default:
        for (std::size_t i = 0; i < blockPixels; ++i)
            for (std::uint32_t band = 0; band < bands; ++band)
                out[i * bands + band] = planes[band * blockPixels + i];
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

/// Numbers whose whole parts 32 bits hold, as those.
template <class D>
HWY_INLINE auto TruncateReal(D /*d*/, hn::Vec<D> x) {
    const hn::Rebind<std::int32_t, D> d32;
    if constexpr (sizeof(hn::TFromD<D>) == 4)
        return hn::ConvertTo(d32, x);
    else
        return hn::DemoteTo(d32, x);
}

/// Within the pixel range, not truncated yet; not-a-number gives 0.
template <class T, class D, class V = hn::Vec<D>>
HWY_INLINE V Clamp(D d, V x) {
    return hn::Min(hn::IfThenElseZero(hn::Ge(x, hn::Zero(d)), x), hn::Set(d, maxSample<T>));
}

/// The whole parts of numbers in [0, largest sample + 1), as samples.
template <class D, class T>
HWY_INLINE void StoreTruncatedLanes(D d, hn::Vec<D> x, T* samples) {
    const hn::Rebind<T, D> narrow;
    hn::StoreU(hn::DemoteTo(narrow, TruncateReal(d, x)), narrow, samples);
}

/// 8-bit results of a quick way in float, as whole numbers of 2^-bits. Each is taken too small by the most
/// that it errs by, so that its whole part is right unless its fraction is close to 1. Being added to 2^23
/// makes it whole and leaves it as the lowest bits; limits keep it there, with fractions in no doubt.
struct FixedResults {
    static constexpr int bits = 15;
    static constexpr float unit = 1 << 23;

    /// Of results up to 256, an error of 2^-bits * `error` before they are made whole.
    explicit FixedResults(int error)
        : offset(unit - static_cast<float>(error + 1)), mostCertain((1 << bits) - 2 * (error + 1) - 2) {}

    /// The result a * b, b being 2^bits times as much, from bit `bits` on; bits above its 8 are not 0.
    template <class D>
    HWY_INLINE hn::Vec<hn::Rebind<std::int32_t, D>> Product(D d, hn::Vec<D> a, hn::Vec<D> b) const {
        const auto most = hn::Set(d, unit + 255.5F * (1 << bits));
        const auto sum = hn::MulAdd(a, b, hn::Set(d, offset));
        return hn::BitCast(hn::Rebind<std::int32_t, D>(), hn::Min(hn::Max(sum, hn::Set(d, unit)), most));
    }

    /// Results as numbers.
    template <class D32, class V>
    HWY_INLINE static V Whole(D32 d32, V results) {
        const hn::Rebind<float, D32> d;
        return hn::ShiftRight<bits>(hn::Sub(results, hn::BitCast(d32, hn::Set(d, unit))));
    }

    /// The greater of `fractions`, of a pixel's other bands, and those of results.
    template <class D32, class V>
    HWY_INLINE static V GreaterFraction(D32 d32, V fractions, V results) {
        return hn::Max(fractions, hn::And(results, hn::Set(d32, (1 << bits) - 1)));
    }

    template <class D32, class V>
    HWY_INLINE auto InDoubt(D32 d32, V fractions) const {
        return hn::RebindMask(hn::Rebind<float, D32>(), hn::Gt(fractions, hn::Set(d32, mostCertain)));
    }

    float offset;             ///< added to every result
    std::int32_t mostCertain; ///< fraction
};

/// The weighted sum of the bands of some pixels, in the order of the definition, one rounding an operation.
template <class D, class T>
HWY_INLINE hn::Vec<D> WeightedSum(D d, const T* planes, const hn::TFromD<D>* weights, std::uint32_t bands) {
    auto s = hn::Zero(d);
    for (std::uint32_t band = 0; band < bands; ++band)
        s = hn::Add(s, hn::Mul(LoadReal(d, planes + band * blockPixels), hn::Set(d, weights[band])));
    return s;
}

/// Pixels of a block, found by a quick way, whose result is in doubt: the definition decides about them.
struct Doubts {
    std::uint8_t pixels[blockPixels] = {};
    std::size_t count = 0;
};

/// With more doubts than this in a block, the long way for all of it takes less time.
inline constexpr std::size_t mostDoubts = 24;

template <class D, class M>
HWY_INLINE void AddDoubts(D d, M doubt, std::size_t firstPixel, Doubts& doubts) {
    if (HWY_LIKELY(hn::AllFalse(d, doubt))) return;
    alignas(8) std::uint8_t bytes[8] = {};
    hn::StoreMaskBits(d, doubt, bytes);
    std::uint64_t bits = 0;
    std::memcpy(&bits, bytes, sizeof bits);
    for (std::size_t lane = 0; lane < hn::Lanes(d); ++lane)
        if (bits >> lane & 1) doubts.pixels[doubts.count++] = static_cast<std::uint8_t>(firstPixel + lane);
}

/// Fuses the pixels of a block that are in doubt once more, by the definition, and puts them in their places.
template <class T, class Way>
HWY_ATTR void Decide(const T* ms, const T* pan, T* out, const BandWeights& bands, const Doubts& doubts,
                     const Way& way) {
    if (doubts.count == 0) return;
    HWY_ALIGN T planes[mostBands * blockPixels] = {};
    HWY_ALIGN T panOfPlanes[blockPixels] = {};
    for (std::size_t i = 0; i < doubts.count; ++i) {
        const std::size_t p = doubts.pixels[i];
        for (std::uint32_t band = 0; band < bands.msBands; ++band)
            planes[band * blockPixels + i] = ms[p * bands.msBands + band];
        panOfPlanes[i] = pan[p];
    }
    way.Exact(planes, panOfPlanes, doubts.count);
    for (std::size_t i = 0; i < doubts.count; ++i)
        for (std::uint32_t band = 0; band < bands.outputBands; ++band)
            out[doubts.pixels[i] * bands.outputBands + band] = planes[band * blockPixels + i];
}

/// Fuses a row in blocks of planes and leaves the output bands in the first planes. `way` has
///
///     bool hasQuick;                                         whether the weights allow the quick way
///     bool Quick(T* planes, const T* pan, Doubts&) const;    false: not for these samples
///     void Exact(T* planes, const T* pan, std::size_t pixels) const;      by the definition
///
/// The rest of the row goes through copies, so that exactly the row's samples are read and written. For at
/// most mostBands bands.
template <class T, class Way>
HWY_ATTR void FuseBlocks(const T* ms, const T* pan, T* out, std::size_t pixels, const BandWeights& bands,
                         const Way& way) {
    const auto block = [&](const T* msBlock, const T* panBlock, T* outBlock) HWY_ATTR {
        HWY_ALIGN T planes[mostBands * blockPixels];
        Doubts doubts;
        Deinterleave(msBlock, bands.msBands, planes);
        if (!way.hasQuick) {
            way.Exact(planes, panBlock, blockPixels);
        } else if (!way.Quick(planes, panBlock, doubts)) {
            doubts.count = 0;
            Deinterleave(msBlock, bands.msBands, planes); // which the quick way has written to
            way.Exact(planes, panBlock, blockPixels);
        }
        Interleave(planes, bands.outputBands, outBlock);
        Decide(msBlock, panBlock, outBlock, bands, doubts, way);
    };
    std::size_t p = 0;
    for (; p + blockPixels <= pixels; p += blockPixels)
        block(ms + p * bands.msBands, pan + p, out + p * bands.outputBands);
    if (p == pixels) return;
    const std::size_t rest = pixels - p;
    HWY_ALIGN T msCopy[blockPixels * mostBands] = {};
    HWY_ALIGN T panCopy[blockPixels] = {};
    HWY_ALIGN T outCopy[blockPixels * mostBands];
    std::copy_n(ms + p * bands.msBands, rest * bands.msBands, msCopy);
    std::copy_n(pan + p, rest, panCopy);
    block(msCopy, panCopy, outCopy);
    std::copy_n(outCopy, rest * bands.outputBands, out + p * bands.outputBands);
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
