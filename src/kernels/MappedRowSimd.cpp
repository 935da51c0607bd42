// Interpolation at arbitrary positions in vectors of any width. A block of pixels first collects the source
// pixels around each position, one plane per neighbour; then the planes are blended in vectors. The samples
// equal those of the definition. 16-bit samples use its operations; 8-bit samples are computed in float, and
// those whose rounding the error could change are computed again by the definition.
#include "kernels/BilinearRow.h"
#include "kernels/CubicRow.h"
#include "kernels/MappedRow.h"
#include "kernels/Simd.h"

#include <algorithm>
#include <array>
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

/// The positions of the pixels of a block along one axis.
template <std::size_t Taps>
struct AxisPlaces {
    HWY_ALIGN double firsts[mapPixels];         ///< the first neighbour, counted from the first available
                                                ///< pixel
    HWY_ALIGN double fractions[mapPixels];      ///< distance beyond the neighbour before the position
    HWY_ALIGN std::int32_t at[Taps][mapPixels]; ///< all neighbours; not filled in if isWithin
    bool isWithin;                              ///< no neighbour lies beyond the source's edges
};

template <std::size_t Taps>
HWY_ATTR void FindPlaces(const double* HWY_RESTRICT positions, std::uint32_t first, std::uint32_t pixels,
                         AxisPlaces<Taps>& places) {
    const hn::ScalableTag<double> d;
    const auto number = [&](double value) HWY_ATTR { return hn::Set(d, value); };
    constexpr std::size_t neighboursBefore = Taps / 2 - 1;
    const auto before = number(static_cast<double>(neighboursBefore));
    const auto origin = number(first), lastFirst = number(static_cast<double>(pixels) - Taps);
    auto least = number(0.0), most = number(0.0);
    for (std::size_t i = 0; i < mapPixels; i += hn::Lanes(d)) {
        const auto position = hn::LoadU(d, positions + i);
        const auto index = hn::Floor(position);
        const auto from = hn::Sub(index, before);
        hn::Store(hn::Sub(position, index), d, places.fractions + i);
        hn::Store(hn::Sub(from, origin), d, places.firsts + i);
        least = hn::Min(least, from);
        most = hn::Max(most, hn::Sub(from, lastFirst));
    }
    places.isWithin = hn::AllTrue(d, hn::And(hn::Ge(least, hn::Zero(d)), hn::Le(most, hn::Zero(d))));
}

/// Finds all neighbours, edges replicated.
template <std::size_t Taps>
HWY_ATTR void FindNeighbours(std::uint32_t first, std::uint32_t pixels, AxisPlaces<Taps>& places) {
    const hn::ScalableTag<double> d;
    const hn::Rebind<std::int32_t, decltype(d)> d32;
    const double from = first;
    const auto origin = hn::Set(d, from), last = hn::Set(d, pixels - 1.0);
    for (std::size_t i = 0; i < mapPixels; i += hn::Lanes(d))
        for (std::size_t tap = 0; tap < Taps; ++tap) {
            const auto step = hn::Set(d, from + static_cast<double>(tap));
            const auto at = hn::Add(hn::Load(d, places.firsts + i), step);
            const auto clamped = hn::Min(hn::Max(at, hn::Zero(d)), last);
            hn::StoreU(hn::DemoteTo(d32, hn::Sub(clamped, origin)), d32, places.at[tap] + i);
        }
}

template <std::size_t Taps>
HWY_INLINE bool IsWithin(const AxisPlaces<Taps>& across, const AxisPlaces<Taps>& down) {
    return across.isWithin && down.isWithin;
}

/// Writes the neighbours of every pixel, those of the upper row first.
template <class T, std::size_t Taps, std::uint32_t Bands>
HWY_ATTR void Collect(const MappedSource<T>& source, const AxisPlaces<Taps>& across,
                      const AxisPlaces<Taps>& down, T (*HWY_RESTRICT planes)[mapSamples]) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(source.samples);
    constexpr std::size_t pixelBytes = Bands * sizeof(T);
    const std::size_t stride = source.rowStride;
    if (!IsWithin(across, down)) {
        for (std::size_t p = 0; p < mapPixels; ++p)
            for (std::size_t j = 0; j < Taps; ++j)
                for (std::size_t i = 0; i < Taps; ++i)
                    std::memcpy(planes[j * Taps + i] + p * Bands,
                                bytes + static_cast<std::size_t>(down.at[j][p]) * stride +
                                    static_cast<std::size_t>(across.at[i][p]) * pixelBytes,
                                pixelBytes);
        return;
    }
    const hn::ScalableTag<double> d;
    const hn::RebindToSigned<decltype(d)> d64;
    const auto ofRow = hn::Set(d, static_cast<double>(stride)), ofColumn = hn::Set(d, double{pixelBytes});
    HWY_ALIGN std::int64_t offsets[mapPixels];
    for (std::size_t i = 0; i < mapPixels; i += hn::Lanes(d)) {
        const auto column = hn::Mul(hn::Load(d, across.firsts + i), ofColumn);
        const auto offset = hn::MulAdd(hn::Load(d, down.firsts + i), ofRow, column); // whole numbers
        hn::Store(hn::ConvertTo(d64, offset), d64, offsets + i);
    }
    for (std::size_t p = 0; p < mapPixels; ++p) {
        const unsigned char* first = bytes + offsets[p];
        for (std::size_t j = 0; j < Taps; ++j)
            for (std::size_t i = 0; i < Taps; ++i)
                std::memcpy(planes[j * Taps + i] + p * Bands, first + j * stride + i * pixelBytes,
                            pixelBytes);
    }
}

template <class T, std::size_t Taps>
HWY_ATTR void CollectBands(const MappedSource<T>& source, const AxisPlaces<Taps>& across,
                           const AxisPlaces<Taps>& down, T (*HWY_RESTRICT planes)[mapSamples]) {
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

/// The factors of every pixel of a block along one axis.
template <class V, std::size_t Numbers>
struct PixelFactors {
    HWY_ALIGN V values[Numbers][mapPadded];
};

template <class V>
HWY_ATTR void StoreFactor(hn::Vec<hn::ScalableTag<double>> factor, V* HWY_RESTRICT to) {
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
HWY_ATTR void FindFactors(const AxisPlaces<2>& places, PixelFactors<V, 1>& factors) {
    const hn::ScalableTag<double> d;
    for (std::size_t i = 0; i < mapPixels; i += hn::Lanes(d))
        StoreFactor(hn::Load(d, places.fractions + i), factors.values[0] + i);
}

/// Cubic: the weights of MakeCubicTap.
template <class V>
HWY_ATTR void FindFactors(const AxisPlaces<4>& places, PixelFactors<V, 4>& factors) {
    const hn::ScalableTag<double> d;
    const auto number = [&](double value) HWY_ATTR { return hn::Set(d, value); };
    const auto half = number(0.5), one = number(1.0);
    for (std::size_t i = 0; i < mapPixels; i += hn::Lanes(d)) {
        const auto t = hn::Load(d, places.fractions + i);
        const auto a = hn::Sub(hn::Mul(hn::Add(hn::Mul(number(-0.5), t), one), t), half);
        const auto b = hn::Mul(hn::Mul(hn::Sub(hn::Mul(number(1.5), t), number(2.5)), t), t);
        const auto c = hn::Add(hn::Mul(hn::Add(hn::Mul(number(-1.5), t), number(2.0)), t), half);
        const auto e = hn::Mul(hn::Sub(hn::Mul(half, t), half), t);
        StoreFactor(hn::Mul(a, t), factors.values[0] + i);
        StoreFactor(hn::Add(b, one), factors.values[1] + i);
        StoreFactor(hn::Mul(c, t), factors.values[2] + i);
        StoreFactor(hn::Mul(e, t), factors.values[3] + i);
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

/// Stores floats as the nearest samples within the range of T. True in lanes whose distance from the middle
/// between two samples is less than their error.
template <class D, class T>
HWY_INLINE hn::Mask<D> StoreNearest(D d, hn::Vec<D> sum, float error, T* out) {
    const auto whole = hn::NearestInt(sum);
    const hn::Rebind<T, D> narrow;
    hn::StoreU(hn::DemoteTo(narrow, whole), narrow, out);
    const auto away = hn::Abs(hn::Sub(sum, hn::ConvertTo(d, whole)));
    return hn::Gt(away, hn::Set(d, 0.5F - error));
}

/// Computes one sample by the definition.
template <class T>
HWY_INLINE T DefineSample(const AxisPlaces<2>& across, const AxisPlaces<2>& down,
                          const T (*planes)[mapSamples], std::size_t pixel, std::size_t sample) {
    return BilinearSample(planes[0][sample], planes[1][sample], planes[2][sample], planes[3][sample],
                          across.fractions[pixel], down.fractions[pixel]);
}

template <class T>
HWY_INLINE T DefineSample(const AxisPlaces<4>& across, const AxisPlaces<4>& down,
                          const T (*planes)[mapSamples], std::size_t pixel, std::size_t sample) {
    CubicTap columns = MakeCubicTap({1, across.fractions[pixel]}, 4);
    for (std::uint32_t& at : columns.at)
        at *= mapSamples;
    std::array<double, 4> rows{};
    for (std::size_t i = 0; i < rows.size(); ++i)
        CubicAcross(planes[4 * i] + sample, &columns, 1, 1, &rows[i]);
    T out{};
    CubicDown({&rows[0], &rows[1], &rows[2], &rows[3]}, MakeCubicTap({1, down.fractions[pixel]}, 4).weights,
              1, &out);
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
        FindPlaces(x, source.firstColumn, source.columns, across);
        FindPlaces(y, source.firstRow, source.rows, down);
        if (!IsWithin(across, down)) {
            FindNeighbours(source.firstColumn, source.columns, across);
            FindNeighbours(source.firstRow, source.rows, down);
        }
        FindFactors(across, ofX);
        FindFactors(down, ofY);
        CollectBands(source, across, down, planes);
        const std::size_t uncertain = Blend(out);
        for (std::size_t i = 0; i < uncertain; ++i)
            out[left[i]] = DefineSample<T>(across, down, planes, left[i] / source.bands, left[i]);
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
                    constexpr V error{Taps == 2 ? bilinearError : cubicError<float>};
                    const auto isUncertain = StoreNearest(d, sum, error, out + at);
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

HWY_EXPORT(Mapped8);
HWY_EXPORT(Mapped16);

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
