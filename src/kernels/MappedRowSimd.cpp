// Interpolation at arbitrary positions in vectors of any width. A block of pixels first collects the source
// pixels around each position, one plane per neighbour; then the planes are blended in vectors. The samples
// equal those of the definition. 16-bit samples use its operations; 8-bit samples are computed in float, and
// those whose rounding the error could change are computed again by the definition.
#include "kernels/BilinearRow.h"
#include "kernels/CubicRow.h"
#include "kernels/MappedRow.h"
#include "kernels/Simd.h"

#include <hwy/cache_control.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/MappedRowSimd.cpp"
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/highway.h>

#include "kernels/Planar-inl.h"

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
HWY_ATTR bool CollectVector(const MappedSource<T>& source, const AxisPlaces<Taps>& across,
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

/// The samples of a vector before rounding. `tap` loads the planes, `x` and `y` the factors.
template <class D, class Tap, class Factor>
HWY_INLINE hn::Vec<D> BlendTaps(D d, std::integral_constant<std::size_t, 2> /*taps*/, const Tap& tap,
                                const Factor& x, const Factor& y) {
    const auto fx = x(0), fy = y(0);
    if constexpr (std::is_same_v<hn::TFromD<D>, float>) {
        const auto a = tap(0), c = tap(2);
        const auto upper = hn::MulAdd(hn::Sub(tap(1), a), fx, a);
        const auto lower = hn::MulAdd(hn::Sub(tap(3), c), fx, c);
        return hn::MulAdd(hn::Sub(lower, upper), fy, upper);
    } else {
        const auto one = hn::Set(d, 1.0);
        const auto gx = hn::Sub(one, fx), gy = hn::Sub(one, fy);
        const auto upper = hn::Add(hn::Mul(tap(0), gx), hn::Mul(tap(1), fx));
        const auto lower = hn::Add(hn::Mul(tap(2), gx), hn::Mul(tap(3), fx));
        return hn::Add(hn::Mul(upper, gy), hn::Mul(lower, fy));
    }
}

template <class D, class Tap, class Factor>
HWY_INLINE hn::Vec<D> BlendTaps(D /*d*/, std::integral_constant<std::size_t, 4> /*taps*/, const Tap& tap,
                                const Factor& x, const Factor& y) {
    const auto add = [&](auto a, auto b, auto sum) HWY_ATTR {
        if constexpr (std::is_same_v<hn::TFromD<D>, float>)
            return hn::MulAdd(a, b, sum);
        else
            return hn::Add(sum, hn::Mul(a, b));
    };
    const auto x0 = x(0), x1 = x(1), x2 = x(2), x3 = x(3);
    const auto across = [&](std::size_t row) HWY_ATTR {
        const auto left = add(tap(4 * row + 1), x1, hn::Mul(tap(4 * row), x0));
        return add(tap(4 * row + 3), x3, add(tap(4 * row + 2), x2, left));
    };
    const auto upper = add(across(1), y(1), hn::Mul(across(0), y(0)));
    return add(across(3), y(3), add(across(2), y(2), upper));
}

/// Stores floats as the nearest samples. True in lanes whose distance from the middle between two samples is
/// less than their error. Bilinear sums lie within half a sample of the range.
template <std::size_t Taps, class D>
HWY_INLINE hn::Mask<D> StoreNearest(D d, hn::Vec<D> sum, unsigned char* out) {
    const hn::Rebind<unsigned char, D> narrow;
    constexpr float error{Taps == 2 ? bilinearError : cubicError<float>};
    const auto lift = hn::Set(d, 3.0F * (1 << 22)); // floats of this size have no fraction
    const auto inRange = Taps == 2 ? sum : Clamp<unsigned char>(d, sum);
    const auto lifted = hn::Add(inRange, lift);
    const hn::RebindToUnsigned<D> d32;
    hn::StoreU(hn::U8FromU32(hn::And(hn::BitCast(d32, lifted), hn::Set(d32, 0xFF))), narrow, out);
    const auto away = hn::Abs(hn::Sub(inRange, hn::Sub(lifted, lift)));
    return hn::Gt(away, hn::Set(d, 0.5F - error));
}

/// Computes one sample by the definition.
template <class T>
HWY_INLINE T DefineSample(std::integral_constant<std::size_t, 2> /*taps*/, double x, double y,
                          const T (*planes)[mapSamples], std::size_t sample) {
    return BilinearSample(planes[0][sample], planes[1][sample], planes[2][sample], planes[3][sample],
                          x - std::floor(x), y - std::floor(y));
}

template <class T>
HWY_INLINE T DefineSample(std::integral_constant<std::size_t, 4> /*taps*/, double x, double y,
                          const T (*planes)[mapSamples], std::size_t sample) {
    CubicTap columns = MakeCubicTap({1, x - std::floor(x)}, 4);
    for (std::uint32_t& at : columns.at)
        at *= mapSamples;
    std::array<double, 4> rows{};
    for (std::size_t i = 0; i < rows.size(); ++i)
        CubicAcross(planes[4 * i] + sample, &columns, 1, 1, &rows[i]);
    T out{};
    CubicDown({&rows[0], &rows[1], &rows[2], &rows[3]}, MakeCubicTap({1, y - std::floor(y)}, 4).weights, 1,
              &out);
    return out;
}

/// For consecutive vectors of samples: the pixel of each lane, relative to that of the first lane. The
/// pattern repeats when whole pixels fill whole vectors.
template <class V>
struct LanePixels {
    using Lane = hwy::MakeSigned<V>;
    HWY_ALIGN Lane of[std::size_t{mostBands} * HWY_MAX_BYTES / sizeof(V)];

    HWY_ATTR explicit LanePixels(std::uint32_t bands) {
        const std::size_t lanes = hn::Lanes(hn::ScalableTag<V>());
        std::uint32_t band = 0;
        Lane pixel = 0;
        for (std::size_t i = 0; i < lanes * bands; ++i) {
            if (i % lanes == 0) pixel = 0;
            of[i] = pixel;
            band = band + 1 == bands ? 0 : band + 1;
            if (band == 0) ++pixel;
        }
    }
};

template <class T, std::size_t Taps>
class MappedBlock {
public:
    HWY_ATTR explicit MappedBlock(const MappedSource<T>& from) : source(from), pixelsOf(from.bands) {}

    /// Computes mapPixels pixels.
    HWY_ATTR void Make(const double* HWY_RESTRICT x, const double* HWY_RESTRICT y, T* HWY_RESTRICT out) {
        FindPlaces(x, source.firstColumn, source.columns, across, ofX);
        FindPlaces(y, source.firstRow, source.rows, down, ofY);
        if (!IsWithin(across, down)) {
            FindNeighbours(x, source.firstColumn, source.columns, across);
            FindNeighbours(y, source.firstRow, source.rows, down);
        }
        CollectBands(source, across, down, planes);
        const std::size_t uncertain = Blend(out);
        for (std::size_t i = 0; i < uncertain; ++i) {
            const std::size_t pixel = left[i] / source.bands;
            out[left[i]] = DefineSample<T>(std::integral_constant<std::size_t, Taps>(), x[pixel], y[pixel],
                                           planes, left[i]);
        }
    }

private:
    using V = MapReal<T>;

    /// Returns the number of samples that are left to the definition.
    HWY_ATTR std::size_t Blend(T* HWY_RESTRICT out) {
        const hn::ScalableTag<V> d;
        const std::size_t lanes = hn::Lanes(d), bands = source.bands;
        std::size_t count = 0;
        for (std::size_t pattern = 0; pattern < bands; ++pattern) {
            const auto lookup = hn::SetTableIndices(d, pixelsOf.of + pattern * lanes);
            std::size_t pixel = pattern * lanes / bands;
            for (std::size_t at = pattern * lanes; at < mapPixels * bands;
                 at += lanes * bands, pixel += lanes) {
                const auto tap = [&](std::size_t plane) HWY_ATTR { return LoadReal(d, planes[plane] + at); };
                const auto factor = [&](const auto& factors) HWY_ATTR {
                    return [&, pixel](std::size_t number) HWY_ATTR {
                        return hn::TableLookupLanes(hn::LoadU(d, factors.values[number] + pixel), lookup);
                    };
                };
                const auto sum =
                    BlendTaps(d, std::integral_constant<std::size_t, Taps>(), tap, factor(ofX), factor(ofY));
                if constexpr (std::is_same_v<V, float>) {
                    const auto isUncertain = StoreNearest<Taps>(d, sum, out + at);
                    if (!hn::AllFalse(d, isUncertain)) count = Mark(d, isUncertain, at, lanes, count, left);
                } else {
                    const auto rounded = hn::Add(sum, hn::Set(d, 0.5));
                    StoreTruncatedLanes(d, Taps == 2 ? rounded : Clamp<T>(d, rounded), out + at);
                }
            }
        }
        return count;
    }

    const MappedSource<T>& source;
    LanePixels<V> pixelsOf;
    AxisPlaces<Taps> across = {}, down = {};
    PixelFactors<V, Taps == 2 ? 1 : 4> ofX, ofY;
    HWY_ALIGN T planes[Taps * Taps][mapSamples];
    std::uint32_t left[mapSamples] = {}; ///< positions of samples left to the definition
};

template <class T, std::size_t Taps>
HWY_ATTR void MapInVectors(const MappedSource<T>& source, const double* x, const double* y,
                           std::size_t pixels, T* out) {
    if (source.bands > mostBands || source.bands == 0)
        return Taps == 2 ? MappedBilinearScalar(source, x, y, pixels, out)
                         : MappedCubicScalar(source, x, y, pixels, out);
    MappedBlock<T, Taps> block(source);
    std::size_t p = 0;
    for (; p + mapPixels <= pixels; p += mapPixels)
        block.Make(x + p, y + p, out + p * source.bands);
    if (p == pixels) return;
    // The remaining pixels go through copies, padded with the last pixel.
    const std::size_t rest = pixels - p;
    double restX[mapPixels], restY[mapPixels];
    T restOut[mapSamples];
    std::fill(std::copy_n(x + p, rest, restX), restX + mapPixels, x[pixels - 1]);
    std::fill(std::copy_n(y + p, rest, restY), restY + mapPixels, y[pixels - 1]);
    block.Make(restX, restY, restOut);
    std::copy_n(restOut, rest * source.bands, out + p * source.bands);
}

MappedRows<unsigned char> Mapped8() {
    return {&MapInVectors<unsigned char, 2>, &MapInVectors<unsigned char, 4>};
}
MappedRows<unsigned short> Mapped16() {
    return {&MapInVectors<unsigned short, 2>, &MapInVectors<unsigned short, 4>};
}

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(Mapped8);
PANSHARP_EXPORT(Mapped16);

template <>
MappedRows<unsigned char> MappedRowsFor(SimdTarget target) {
    return ForTarget(target, MappedRows<unsigned char>{&MappedBilinearScalar, &MappedCubicScalar},
                     HWY_DISPATCH_TABLE(Mapped8));
}

template <>
MappedRows<unsigned short> MappedRowsFor(SimdTarget target) {
    return ForTarget(target, MappedRows<unsigned short>{&MappedBilinearScalar, &MappedCubicScalar},
                     HWY_DISPATCH_TABLE(Mapped16));
}

} // namespace kernels
#endif
