// Included once for every vector target (see Highway's foreach_target.h); helpers of interpolation at
// arbitrary positions.
#if defined(PANSHARP_MAPPED_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PANSHARP_MAPPED_INL_H
#undef PANSHARP_MAPPED_INL_H
#else
#define PANSHARP_MAPPED_INL_H
#endif

#include "kernels/CubicRow.h"
#include "kernels/MappedRow.h"
#include "kernels/Planar-inl.h"

#include <hwy/cache_control.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>

/// The source pixels around the positions of a block of pixels: found, and collected into one plane per
/// neighbour.
HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

/// Pixels of a block, a multiple of the lanes of every vector, and the most samples that a block has.
inline constexpr std::size_t mapPixels = 64;
inline constexpr std::size_t mapSamples = mapPixels * mostBands;
/// Planes are padded, since a vector may be loaded from the last pixel on.
inline constexpr std::size_t mapPadded = mapPixels + HWY_MAX_BYTES / sizeof(float);

template <class T>
using MapReal = std::conditional_t<sizeof(T) == 1, float, double>;

inline constexpr int fractionBits = 15;
inline constexpr std::uint32_t fractionUnits = 1 << fractionBits;

/// The fraction below which sums are uncertain that err by less than this.
constexpr std::uint32_t UncertainUnits(double error) {
    return std::bit_ceil(static_cast<std::uint32_t>(2.0 * error * fractionUnits + 1.0));
}

/// Rounds sums in float to samples. Between 256 and 512 a float has 15 bits of fraction; so when 256.5 is
/// added to a sum, the bits above these hold its sample. The error can change only that of a sum next to a
/// whole number. So half of `Uncertain`, a power of two, is added as well, which is more than the error: then
/// such sums, and few others, have a fraction below `Uncertain`.
template <std::uint32_t Uncertain>
struct NearestSample {
    static constexpr auto lift = static_cast<float>(256.5 + 0.5 * Uncertain / fractionUnits);

    /// The samples, in this byte of their words.
    template <int Byte, class D>
    static HWY_INLINE hn::Vec<D> SampleOf(D d, hn::Vec<D> rounded) {
        constexpr int right = fractionBits - 8 * Byte;
        const auto byte = hn::Set(d, std::uint32_t{0xFF} << (8 * Byte));
        if constexpr (right > 0)
            return hn::And(hn::ShiftRight<right>(rounded), byte);
        else
            return hn::And(hn::ShiftLeft<-right>(rounded), byte);
    }
    /// 0 for samples that are left to the definition.
    template <class D>
    static HWY_INLINE hn::Vec<D> Certainty(D d, hn::Vec<D> rounded) {
        return hn::And(rounded, hn::Set(d, fractionUnits - Uncertain));
    }
};

/// The factors of every pixel of a block along one axis.
template <class V, std::size_t Numbers>
struct PixelFactors {
    HWY_ALIGN V values[Numbers][mapPadded];
};

template <class V>
HWY_INLINE void StoreFactor(hn::Vec<hn::ScalableTag<double>> factor, V* HWY_RESTRICT to) {
    const hn::ScalableTag<double> d;
    if constexpr (std::is_same_v<V, float>) {
        const hn::Rebind<float, decltype(d)> narrow;
        hn::StoreU(hn::DemoteTo(narrow, factor), narrow, to);
    } else {
        hn::StoreU(factor, d, to);
    }
}

/// Bilinear: the fraction itself.
template <class V>
HWY_INLINE void StoreFactors(hn::Vec<hn::ScalableTag<double>> fraction, std::size_t i,
                             PixelFactors<V, 1>& factors) {
    StoreFactor(fraction, factors.values[0] + i);
}

/// Cubic: the weights of MakeCubicTap.
template <class V>
HWY_INLINE void StoreFactors(hn::Vec<hn::ScalableTag<double>> t, std::size_t i, PixelFactors<V, 4>& factors) {
    const hn::ScalableTag<double> d;
    const auto number = [&](double value) HWY_ATTR { return hn::Set(d, value); };
    const auto half = number(0.5), one = number(1.0);
    const auto a = hn::Sub(hn::Mul(hn::Add(hn::Mul(number(-0.5), t), one), t), half);
    const auto b = hn::Mul(hn::Mul(hn::Sub(hn::Mul(number(1.5), t), number(2.5)), t), t);
    const auto c = hn::Add(hn::Mul(hn::Add(hn::Mul(number(-1.5), t), number(2.0)), t), half);
    const auto e = hn::Mul(hn::Sub(hn::Mul(half, t), half), t);
    StoreFactor(hn::Mul(a, t), factors.values[0] + i);
    StoreFactor(hn::Add(b, one), factors.values[1] + i);
    StoreFactor(hn::Mul(c, t), factors.values[2] + i);
    StoreFactor(hn::Mul(e, t), factors.values[3] + i);
}

/// The positions of the pixels of a block along one axis.
template <std::size_t Taps>
struct AxisPlaces {
    HWY_ALIGN std::int32_t firsts[mapPixels];   ///< the first neighbour, from the first available pixel
    HWY_ALIGN std::int32_t at[Taps][mapPixels]; ///< all neighbours; not filled in if isWithin
    bool isWithin;                              ///< no neighbour lies beyond the source's edges
};

template <std::size_t Taps, class Factors>
HWY_ATTR void FindPlaces(const double* HWY_RESTRICT positions, std::uint32_t first, std::uint32_t pixels,
                         AxisPlaces<Taps>& places, Factors& factors) {
    const hn::ScalableTag<double> d;
    const hn::Rebind<std::int32_t, decltype(d)> d32;
    const hn::RebindToUnsigned<decltype(d32)> dCount;
    const auto before = hn::Set(d32, std::int32_t{Taps / 2 - 1});
    const auto origin = hn::Set(d32, static_cast<std::int32_t>(first));
    auto greatest = hn::Zero(dCount); // wraps to beyond all pixels before the first
    for (std::size_t i = 0; i < mapPixels; i += hn::Lanes(d)) {
        const auto position = hn::LoadU(d, positions + i);
        const auto index = hn::Floor(position);
        const auto from = hn::Sub(hn::DemoteTo(d32, index), before);
        greatest = hn::Max(greatest, hn::BitCast(dCount, from));
        hn::StoreU(hn::Sub(from, origin), d32, places.firsts + i);
        StoreFactors(hn::Sub(position, index), i, factors);
    }
    const auto lastFirst = hn::Set(dCount, pixels - std::uint32_t{Taps});
    places.isWithin = pixels >= Taps && hn::AllFalse(dCount, hn::Gt(greatest, lastFirst));
}

/// Finds all neighbours, edges replicated.
template <std::size_t Taps>
HWY_ATTR void FindNeighbours(const double* HWY_RESTRICT positions, std::uint32_t first, std::uint32_t pixels,
                             AxisPlaces<Taps>& places) {
    const hn::ScalableTag<double> d;
    const hn::Rebind<std::int32_t, decltype(d)> d32;
    const auto origin = hn::Set(d, static_cast<double>(first)), last = hn::Set(d, pixels - 1.0);
    constexpr std::size_t neighboursBefore = Taps / 2 - 1;
    constexpr auto before = static_cast<double>(neighboursBefore);
    for (std::size_t i = 0; i < mapPixels; i += hn::Lanes(d)) {
        const auto index = hn::Floor(hn::LoadU(d, positions + i));
        for (std::size_t tap = 0; tap < Taps; ++tap) {
            const auto at = hn::Add(index, hn::Set(d, static_cast<double>(tap) - before));
            const auto clamped = hn::Min(hn::Max(at, hn::Zero(d)), last);
            hn::StoreU(hn::DemoteTo(d32, hn::Sub(clamped, origin)), d32, places.at[tap] + i);
        }
    }
}

template <std::size_t Taps>
HWY_INLINE bool IsWithin(const AxisPlaces<Taps>& across, const AxisPlaces<Taps>& down) {
    return across.isWithin && down.isWithin;
}

/// Loads places as whole numbers of the lanes of D.
template <class D>
HWY_INLINE hn::Vec<D> LoadPlaces(D d, const std::int32_t* first) {
    if constexpr (sizeof(hn::TFromD<D>) == 4)
        return hn::LoadU(d, first);
    else
        return hn::PromoteTo(d, hn::LoadU(hn::Rebind<std::int32_t, D>(), first));
}

/// Writes the neighbours of a vector of pixels of type W. It loads one vector from each source row that they
/// need. False, with nothing written, if the pixels lie too far apart or too near the end of the samples.
template <class W, class T, std::size_t Taps>
HWY_INLINE bool CollectVector(const MappedSource<T>& source, const AxisPlaces<Taps>& across,
                              const AxisPlaces<Taps>& down, std::size_t pixel,
                              T (*HWY_RESTRICT planes)[mapSamples]) {
    const hn::ScalableTag<W> d;
    const hn::RebindToSigned<decltype(d)> places;
    using Place = hn::TFromD<decltype(places)>;
    constexpr std::int32_t mostTurns = 3;
    const std::size_t lanes = hn::Lanes(d), end = pixel + lanes - 1;
    if (lanes < Taps) return false;
    const std::int32_t left = std::min(across.firsts[pixel], across.firsts[end]);
    const auto [top, bottom] = std::minmax(down.firsts[pixel], down.firsts[end]);
    const std::size_t pastLast = (static_cast<std::size_t>(bottom) + Taps - 1) * source.rowStride +
                                 (static_cast<std::size_t>(left) + lanes) * sizeof(W);
    if (bottom - top > mostTurns || pastLast > source.bytes) return false;
    const auto column = hn::Sub(LoadPlaces(places, across.firsts + pixel), hn::Set(places, Place{left}));
    const auto row = hn::Sub(LoadPlaces(places, down.firsts + pixel), hn::Set(places, Place{top}));
    const auto isFar = hn::Or(hn::Gt(hn::BitCast(d, column), hn::Set(d, static_cast<W>(lanes - Taps))),
                              hn::Gt(hn::BitCast(d, row), hn::Set(d, static_cast<W>(bottom - top))));
    if (!hn::AllFalse(d, isFar)) return false;
    const auto* bytes = reinterpret_cast<const unsigned char*>(source.samples) +
                        static_cast<std::size_t>(top) * source.rowStride +
                        static_cast<std::size_t>(left) * sizeof(W);
    // The next source row: a slanted line reaches it in an order that the processor does not predict.
    hwy::Prefetch(bytes + (static_cast<std::size_t>(bottom - top) + Taps) * source.rowStride);
    for (std::size_t i = 0; i < Taps; ++i) {
        const auto lookup = hn::IndicesFromVec(d, hn::Add(column, hn::Set(places, static_cast<Place>(i))));
        const auto take = [&](std::size_t sourceRow) HWY_ATTR {
            const auto* words = reinterpret_cast<const W*>(bytes + sourceRow * source.rowStride);
            return hn::TableLookupLanes(hn::LoadU(d, words), lookup);
        };
        for (std::size_t j = 0; j < Taps; ++j) {
            auto words = take(j);
            for (std::int32_t turn = 1; turn <= bottom - top; ++turn) {
                const auto isThere = hn::RebindMask(d, hn::Eq(row, hn::Set(places, Place{turn})));
                words = hn::IfThenElse(isThere, take(j + static_cast<std::size_t>(turn)), words);
            }
            hn::StoreU(words, d, reinterpret_cast<W*>(planes[j * Taps + i]) + pixel);
        }
    }
    return true;
}

/// Writes the neighbours of every pixel, those of the upper row first, edges replicated.
template <class T, std::size_t Taps>
HWY_ATTR void CollectClamped(const MappedSource<T>& source, const AxisPlaces<Taps>& across,
                             const AxisPlaces<Taps>& down, T (*HWY_RESTRICT planes)[mapSamples]) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(source.samples);
    const std::size_t bands = source.bands, stride = source.rowStride;
    for (std::size_t p = 0; p < mapPixels; ++p)
        for (std::size_t plane = 0; plane < Taps * Taps; ++plane)
            std::memcpy(planes[plane] + p * bands,
                        bytes + static_cast<std::size_t>(down.at[plane / Taps][p]) * stride +
                            static_cast<std::size_t>(across.at[plane % Taps][p]) * bands * sizeof(T),
                        bands * sizeof(T));
}

/// The same for pixels whose neighbours all lie within the source.
template <class T, std::size_t Taps, std::uint32_t Bands>
HWY_ATTR void Collect(const MappedSource<T>& source, const AxisPlaces<Taps>& across,
                      const AxisPlaces<Taps>& down, T (*HWY_RESTRICT planes)[mapSamples]) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(source.samples);
    constexpr std::size_t pixelBytes = Bands * sizeof(T);
    const std::size_t stride = source.rowStride;
    constexpr bool isWord = pixelBytes == 4 || pixelBytes == 8;
    using Word = std::conditional_t<pixelBytes == 4, std::uint32_t, std::uint64_t>;
    const std::size_t atOnce = isWord ? hn::Lanes(hn::ScalableTag<Word>()) : mapPixels;
    for (std::size_t from = 0; from < mapPixels; from += atOnce) {
        if constexpr (isWord)
            if (CollectVector<Word>(source, across, down, from, planes)) continue;
        for (std::size_t p = from; p < from + atOnce; ++p) {
            const unsigned char* first = bytes + static_cast<std::size_t>(down.firsts[p]) * stride +
                                         static_cast<std::size_t>(across.firsts[p]) * pixelBytes;
            for (std::size_t j = 0; j < Taps; ++j)
                for (std::size_t i = 0; i < Taps; ++i)
                    std::memcpy(planes[j * Taps + i] + p * Bands, first + j * stride + i * pixelBytes,
                                pixelBytes);
        }
    }
}

template <class T, std::size_t Taps>
HWY_ATTR void CollectBands(const MappedSource<T>& source, const AxisPlaces<Taps>& across,
                           const AxisPlaces<Taps>& down, T (*HWY_RESTRICT planes)[mapSamples]) {
    if (!IsWithin(across, down)) return CollectClamped(source, across, down, planes);
    switch (source.bands) {
    case 1:
        return Collect<T, Taps, 1>(source, across, down, planes);
    case 2:
        return Collect<T, Taps, 2>(source, across, down, planes);
    case 3:
        return Collect<T, Taps, 3>(source, across, down, planes);
    case 4:
        return Collect<T, Taps, 4>(source, across, down, planes);
    case 5:
        return Collect<T, Taps, 5>(source, across, down, planes);
    case 6:
        return Collect<T, Taps, 6>(source, across, down, planes);
    case 7:
        return Collect<T, Taps, 7>(source, across, down, planes);
    default:
        return Collect<T, Taps, mostBands>(source, across, down, planes);
    }
}

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#endif // PANSHARP_MAPPED_INL_H
