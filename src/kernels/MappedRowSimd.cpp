// Interpolation at arbitrary positions in vectors of any width. A block of pixels first collects the source
// pixels around each position, one plane per neighbour; then the planes are blended in vectors. The samples
// equal those of the definition. 16-bit samples use its operations; 8-bit samples are computed in float, and
// those whose rounding the error could change are computed again by the definition. MappedPacked-inl.h takes
// no planes for the pixels that most images have.
#include "kernels/BilinearRow.h"
#include "kernels/CubicRow.h"
#include "kernels/MappedRow.h"
#include "kernels/Simd.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <type_traits>

#ifndef HWY_TARGET_INCLUDE // not joined with others
#define HWY_TARGET_INCLUDE "kernels/MappedRowSimd.cpp"
#endif
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/highway.h>

#include "kernels/Mapped-inl.h"
#include "kernels/MappedPacked-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

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

    /// Blends vectors of consecutive samples, over which the factors are spread. Returns the number of
    /// samples that are left to the definition.
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
                    constexpr double error = Taps == 2 ? bilinearError : cubicError<float>;
                    // The addition errs by half a unit.
                    using Nearest = NearestSample<UncertainUnits(error + 0.5 / fractionUnits)>;
                    const hn::RebindToUnsigned<decltype(d)> d32;
                    // Bilinear sums lie within half a sample of the range.
                    const auto inRange = Taps == 2 ? sum : Clamp<T>(d, sum);
                    const auto rounded = hn::BitCast(d32, hn::Add(inRange, hn::Set(d, Nearest::lift)));
                    hn::StoreU(hn::U8FromU32(Nearest::template SampleOf<0>(d32, rounded)),
                               hn::Rebind<T, decltype(d)>(), out + at);
                    const auto isUncertain = hn::Eq(Nearest::Certainty(d32, rounded), hn::Zero(d32));
                    if (!hn::AllFalse(d32, isUncertain))
                        count = Mark(d32, isUncertain, at, lanes, count, left);
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
HWY_ATTR void MapBlocks(const MappedSource<T>& source, MappedPath path, std::size_t pixels, T* out) {
    static const FillLine fill = FillLineFor(HWY_TARGET);
    MappedBlock<T, Taps> block(source);
    // Positions are computed some blocks ahead, so that no block waits for its own.
    constexpr std::size_t atOnce = 8 * mapPixels;
    HWY_ALIGN double x[atOnce], y[atOnce];
    for (std::size_t p = 0; p < pixels; p += atOnce, out += atOnce * source.bands) {
        const std::size_t count = std::min(atOnce, pixels - p), rest = count % mapPixels;
        path.Fill(fill, count, x, y);
        for (std::size_t i = 0; i < count - rest; i += mapPixels)
            block.Make(x + i, y + i, out + i * source.bands);
        if (rest == 0) continue;
        // The remaining pixels are padded with the last one.
        const std::size_t first = count - rest;
        std::fill(x + count, x + first + mapPixels, x[count - 1]);
        std::fill(y + count, y + first + mapPixels, y[count - 1]);
        T padded[mapSamples];
        block.Make(x + first, y + first, padded);
        std::copy_n(padded, rest * source.bands, out + first * source.bands);
    }
}

template <class T, std::size_t Taps>
HWY_ATTR void MapInVectors(const MappedSource<T>& source, MappedPath path, std::size_t pixels, T* out) {
    if (source.bands > mostBands || source.bands == 0) {
        const MappedRows<T> scalar = MappedRowsScalar<T>();
        return (Taps == 2 ? scalar.bilinear : scalar.cubic)(source, path, pixels, out);
    }
#if HWY_TARGET != HWY_SCALAR
    if constexpr (sizeof(T) == 1 && Taps == 2)
        if (source.bands == packedBands) return MapPacked(source, path, pixels, out, &MapBlocks<T, Taps>);
#endif
    MapBlocks<T, Taps>(source, path, pixels, out);
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
    return ForTarget(target, MappedRowsScalar<unsigned char>(), HWY_DISPATCH_TABLE(Mapped8));
}

template <>
MappedRows<unsigned short> MappedRowsFor(SimdTarget target) {
    return ForTarget(target, MappedRowsScalar<unsigned short>(), HWY_DISPATCH_TABLE(Mapped16));
}

} // namespace kernels
#endif
