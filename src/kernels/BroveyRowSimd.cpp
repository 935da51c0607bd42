// Brovey in vectors of whatever width the processor has; the same bytes as the scalar definition.
#include "kernels/BroveyRow.h"
#include "kernels/Simd.h"
#include "kernels/Store.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/BroveyRowSimd.cpp"
#include <hwy/foreach_target.h>
// Highway asks for this order.
#include <hwy/highway.h>

#include "kernels/Words-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

// The quick way is for weights that are 0 or of an ordinary size and not negative. Then nothing cancels, and
// a result errs by at most a relative 2^-24 in float, 2^-53 in double, for each of: the weights, the
// products, a sum a band, the quotient and the product. Twice as much is allowed for; in double that is next
// to nothing.
constexpr double leastWeight = 1.0 / (1 << 20);
constexpr double mostWeight = 1024.0;

template <class T>
struct BroveyWay {
    using Real = RealOf<T>;

    explicit BroveyWay(const BandWeights& bandWeights)
        : bands(bandWeights), error(sizeof(T) == 1 ? static_cast<int>(bandWeights.msBands) + 4 : 1) {
        hasQuick = true;
        for (std::uint32_t band = 0; band < bands.msBands; ++band) {
            const double weight = bands.weights[band];
            hasQuick = hasQuick && (weight == 0.0 || (weight >= leastWeight && weight <= mostWeight));
        }
        for (std::uint32_t band = 0; hasQuick && band < bands.msBands; ++band)
            weights[band] = static_cast<Real>(bands.weights[band]) / fixedOne;
    }

    HWY_ATTR bool Quick(T* planes, const T* HWY_RESTRICT pan, Doubts& doubts) const {
        const hn::ScalableTag<Real> d;
        const WholeNumbers d32;
        const auto offset = hn::Set(d, FixedOffset<Real>(error));
        for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d32)) {
            const auto ratioFrom = [&](std::size_t p) HWY_ATTR {
                return Ratio(d, LoadReal(d, pan + p), QuickSum(d, planes + p, weights, bands.msBands));
            };
            const auto ratio = ratioFrom(i);
            const auto secondRatio = sizeof(T) == 1 ? ratio : ratioFrom(i + hn::Lanes(d));
            auto fractions = hn::Zero(d32);
            for (std::uint32_t c = 0; c < bands.outputBands; ++c) {
                T* samples = planes + c * blockPixels + i;
                const auto results = FixedResults<T>([&](std::size_t first) HWY_ATTR {
                    return hn::MulAdd(LoadReal(d, samples + first), first == 0 ? ratio : secondRatio, offset);
                });
                StoreResults(results, samples, fractions);
            }
            AddDoubts(d32, InDoubt(fractions, error), i, doubts);
        }
        return doubts.count <= mostDoubts;
    }

    template <class D>
    HWY_INLINE static hn::Vec<D> Ratio(D d, hn::Vec<D> pan, hn::Vec<D> s) {
        return hn::IfThenElseZero(hn::Ne(s, hn::Zero(d)), hn::Div(pan, s));
    }

#if HWY_TARGET != HWY_SCALAR
    template <class D, class S, class V, std::uint32_t Bands>
    HWY_INLINE void Words(D d, SomeWords<S, Bands>& of, const SomeBands<V, Bands>& ms, V pan,
                          std::size_t firstPixel, Doubts& doubts) const {
        const WholeNumbers d32;
        const auto ratio = Ratio(d, pan, QuickSumOfBands(d, ms, weights, hn::Zero(d)));
        auto fractions = hn::Zero(d32);
        const auto sum = [&](std::uint32_t band) HWY_ATTR {
            return hn::MulAdd(ms.bands[std::min(band, Bands - 1)], ratio,
                              hn::Set(d, FixedOffset<Real>(error)));
        };
        for (std::uint32_t w = 0, c = 0; c < Bands; ++w, c += wordBands)
            of.words[w] = JoinFixed(d, sum(c), sum(c + 1), sum(c + 2), sum(c + 3), fractions);
        AddDoubtsOfSums(d, fractions, error, firstPixel, doubts);
    }
#endif

    HWY_ATTR void Exact(T* planes, const T* HWY_RESTRICT pan, std::size_t pixels) const {
        const hn::ScalableTag<double> d;
        for (std::size_t i = 0; i < pixels; i += hn::Lanes(d)) {
            const auto s = WeightedSum(planes + i, bands.weights, bands.msBands);
            const auto ratio = Ratio(d, LoadReal(d, pan + i), s);
            for (std::uint32_t c = 0; c < bands.outputBands; ++c) {
                T* samples = planes + c * blockPixels + i;
                StoreTruncatedLanes(d, Clamp<T>(d, hn::Mul(LoadReal(d, samples), ratio)), samples);
            }
        }
    }

    const BandWeights& bands;
    bool hasQuick = false;
    const int error;              ///< of quick results, in steps of 1 / fixedOne
    Real weights[mostBands] = {}; ///< by which a ratio has fixedBits more
};

template <class T>
HWY_ATTR void BroveyRow(const T* ms, const T* pan, T* out, std::size_t pixels, const BandWeights& bands) {
    if (bands.msBands > mostBands) return BroveyRowScalar(ms, pan, out, pixels, bands);
    FuseFast(ms, pan, out, pixels, bands, BroveyWay<T>(bands));
}

void BroveyRow8(const unsigned char* ms, const unsigned char* pan, unsigned char* out, std::size_t pixels,
                const BandWeights& bands) {
    BroveyRow(ms, pan, out, pixels, bands);
}

void BroveyRow16(const unsigned short* ms, const unsigned short* pan, unsigned short* out, std::size_t pixels,
                 const BandWeights& bands) {
    BroveyRow(ms, pan, out, pixels, bands);
}

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

HWY_EXPORT(BroveyRow8);
HWY_EXPORT(BroveyRow16);

template <>
FuseRow<unsigned char> BroveyRowFor(SimdTarget target) {
    return target == 0 ? &BroveyRowScalar<unsigned char>
                       : HWY_DISPATCH_TABLE(BroveyRow8)[DispatchIndex(target)];
}

template <>
FuseRow<unsigned short> BroveyRowFor(SimdTarget target) {
    return target == 0 ? &BroveyRowScalar<unsigned short>
                       : HWY_DISPATCH_TABLE(BroveyRow16)[DispatchIndex(target)];
}

} // namespace kernels
#endif
