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
    explicit BroveyWay(const BandWeights& bandWeights) : bands(bandWeights) {
        hasQuick = sizeof(T) == 1;
        for (std::uint32_t band = 0; band < bands.msBands; ++band) {
            const double weight = bands.weights[band];
            hasQuick = hasQuick && (weight == 0.0 || (weight >= leastWeight && weight <= mostWeight));
        }
        for (std::uint32_t band = 0; hasQuick && band < bands.msBands; ++band)
            floatWeights[band] = static_cast<float>(bands.weights[band]);
        hasWords = hasQuick || sizeof(T) == 2;
        error = 256.0F * static_cast<float>(bands.msBands + 4) / (1 << 23);
    }

    /// Within the limits beyond which a sample is 0 or the largest; whole parts may differ where x may be a
    /// whole number.
    template <class D, class M>
    HWY_INLINE auto Whole(D d, hn::Vec<D> product, M& doubt) const {
        const auto x = hn::Min(product, hn::Set(d, static_cast<float>(maxSample<T>) + 0.5F));
        const auto near = hn::Set(d, error);
        const auto whole = TruncateReal(d, hn::Add(x, near));
        doubt = hn::Or(doubt, hn::Xor(whole, TruncateReal(d, hn::Sub(x, near))));
        return whole;
    }

    HWY_ATTR bool Quick(T* planes, const T* HWY_RESTRICT pan, Doubts& doubts) const {
        const hn::ScalableTag<float> d;
        const hn::Rebind<std::int32_t, decltype(d)> d32;
        const hn::Rebind<T, decltype(d)> narrow;
        for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d)) {
            const auto s = WeightedSum(d, planes + i, floatWeights, bands.msBands);
            const auto ratio = Ratio(d, LoadReal(d, pan + i), s);
            auto doubt = hn::Zero(d32);
            for (std::uint32_t c = 0; c < bands.outputBands; ++c) {
                T* samples = planes + c * blockPixels + i;
                const auto whole = Whole(d, hn::Mul(LoadReal(d, samples), ratio), doubt);
                hn::StoreU(hn::DemoteTo(narrow, whole), narrow, samples);
            }
            AddDoubts(d, hn::RebindMask(d, hn::Ne(doubt, hn::Zero(d32))), i, doubts);
        }
        return doubts.count <= mostDoubts;
    }

    template <class D>
    HWY_INLINE static hn::Vec<D> Ratio(D d, hn::Vec<D> pan, hn::Vec<D> s) {
        return hn::IfThenElseZero(hn::Ne(s, hn::Zero(d)), hn::Div(pan, s));
    }

#if HWY_TARGET != HWY_SCALAR
    template <class D, class S, class V>
    HWY_INLINE S Words(D d, S /*samples*/, const FourBands<V>& of, V pan, std::size_t firstPixel,
                       Doubts& doubts) const {
        const WordsOf<D> dWord;
        auto words = hn::Zero(dWord);
        constexpr int bits = sizeof(T) * 8;
        if constexpr (sizeof(T) == 1) {
            const auto ratio = Ratio(d, pan, SumOfBands(d, of, floatWeights));
            const hn::Rebind<std::int32_t, D> d32;
            auto doubt = hn::Zero(d32);
            for (std::uint32_t c = wordBands; c-- > 0;) {
                const auto whole = hn::BitCast(dWord, Whole(d, hn::Mul(of.bands[c], ratio), doubt));
                words = hn::Or(hn::ShiftLeft<bits>(words), whole);
            }
            AddDoubts(d, hn::RebindMask(d, hn::Ne(doubt, hn::Zero(d32))), firstPixel, doubts);
        } else {
            const auto ratio = Ratio(d, pan, SumOfBands(d, of, bands.weights));
            for (std::uint32_t c = wordBands; c-- > 0;) {
                const auto whole = ToWords(d, hn::Floor(Clamp<T>(d, hn::Mul(of.bands[c], ratio))));
                words = hn::Or(hn::ShiftLeft<bits>(words), whole);
            }
        }
        return hn::BitCast(hn::Repartition<T, D>(), words);
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
    float error = 0.0F; ///< of a result
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
