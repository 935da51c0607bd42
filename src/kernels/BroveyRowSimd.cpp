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

// The quick way is for 8-bit samples and weights that are 0 or of an ordinary size and not negative. Then
// nothing cancels, and in float a result errs by at most a relative 2^-24 for each of: the weights, the
// products, a sum a band, the quotient and the product. Twice as much is allowed for.
constexpr double leastWeight = 1.0 / (1 << 20);
constexpr double mostWeight = 1024.0;

template <class T>
struct BroveyWay {
    explicit BroveyWay(const BandWeights& bandWeights)
        : bands(bandWeights), fixed(static_cast<int>(bandWeights.msBands) + 4) {
        hasQuick = sizeof(T) == 1;
        for (std::uint32_t band = 0; band < bands.msBands; ++band) {
            const double weight = bands.weights[band];
            hasQuick = hasQuick && (weight == 0.0 || (weight >= leastWeight && weight <= mostWeight));
        }
        for (std::uint32_t band = 0; hasQuick && band < bands.msBands; ++band)
            floatWeights[band] = static_cast<float>(bands.weights[band]) / (1 << FixedResults::bits);
        hasWords = hasQuick || sizeof(T) == 2;
    }

    HWY_ATTR bool Quick(T* planes, const T* HWY_RESTRICT pan, Doubts& doubts) const {
        const hn::ScalableTag<float> d;
        const hn::Rebind<std::int32_t, decltype(d)> d32;
        const hn::Rebind<T, decltype(d)> narrow;
        for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d)) {
            const auto s = WeightedSum(d, planes + i, floatWeights, bands.msBands);
            const auto ratio = Ratio(d, LoadReal(d, pan + i), s);
            auto fractions = hn::Zero(d32);
            for (std::uint32_t c = 0; c < bands.outputBands; ++c) {
                T* samples = planes + c * blockPixels + i;
                const auto result = fixed.Product(d, LoadReal(d, samples), ratio);
                fractions = FixedResults::GreaterFraction(d32, fractions, result);
                hn::StoreU(hn::DemoteTo(narrow, FixedResults::Whole(d32, result)), narrow, samples);
            }
            AddDoubts(d, fixed.InDoubt(d32, fractions), i, doubts);
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
        const WordsOf<D> dWord;
        const hn::Repartition<T, D> dSample;
        if constexpr (sizeof(T) == 1) {
            const hn::Rebind<std::int32_t, D> d32;
            const auto ratio = Ratio(d, pan, SumOfBands(d, ms, floatWeights));
            auto fractions = hn::Zero(d32);
            const auto result = [&](std::uint32_t band) HWY_ATTR {
                const auto sum = fixed.Sum(d, ms.bands[std::min(band, Bands - 1)], ratio);
                fractions = FixedResults::GreaterFractionOfSums(d32, fractions, sum);
                return hn::BitCast(dWord, sum);
            };
            for (std::uint32_t w = 0, c = 0; c < Bands; ++w, c += wordBands)
                of.words[w] = hn::BitCast(
                    dSample, JoinFixed(dWord, result(c), result(c + 1), result(c + 2), result(c + 3)));
            AddDoubts(d, fixed.SumsInDoubt(d32, fractions), firstPixel, doubts);
        } else {
            const auto ratio = Ratio(d, pan, SumOfBands(d, ms, bands.weights));
            for (std::uint32_t w = 0; w * wordBands < Bands; ++w) {
                auto words = hn::Zero(dWord);
                for (std::uint32_t c = wordBands; c-- > 0;) {
                    const auto product = hn::Mul(ms.bands[w * wordBands + c], ratio);
                    words = hn::Or(hn::ShiftLeft<sizeof(T) * 8>(words),
                                   ToWords(d, hn::Floor(Clamp<T>(d, product))));
                }
                of.words[w] = hn::BitCast(dSample, words);
            }
        }
    }
#endif

    HWY_ATTR void Exact(T* planes, const T* HWY_RESTRICT pan, std::size_t pixels) const {
        const hn::ScalableTag<double> d;
        for (std::size_t i = 0; i < pixels; i += hn::Lanes(d)) {
            const auto s = WeightedSum(d, planes + i, bands.weights, bands.msBands);
            const auto ratio = Ratio(d, LoadReal(d, pan + i), s);
            for (std::uint32_t c = 0; c < bands.outputBands; ++c) {
                T* samples = planes + c * blockPixels + i;
                StoreTruncatedLanes(d, Clamp<T>(d, hn::Mul(LoadReal(d, samples), ratio)), samples);
            }
        }
    }

    const BandWeights& bands;
    bool hasQuick = false;
    bool hasWords = false;
    const FixedResults fixed;
    float floatWeights[mostBands] = {};
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
