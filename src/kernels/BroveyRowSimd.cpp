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

#include "kernels/Planes-inl.h"

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
        isFloat = sizeof(T) == 1;
        for (std::uint32_t band = 0; band < bands.msBands; ++band) {
            const double weight = bands.weights[band];
            isFloat = isFloat && (weight == 0.0 || (weight >= leastWeight && weight <= mostWeight));
        }
        for (std::uint32_t band = 0; isFloat && band < bands.msBands; ++band)
            floatWeights[band] = static_cast<float>(bands.weights[band]);
        error = 256.0F * static_cast<float>(bands.msBands + 4) / (1 << 23);
    }

    HWY_ATTR bool Quick(T* planes, const T* HWY_RESTRICT pan, Doubts& doubts) const {
        if (!isFloat) return false;
        const hn::ScalableTag<float> d;
        const auto zero = hn::Zero(d);
        const auto least = hn::Set(d, 0.5F);
        const auto most = hn::Set(d, static_cast<float>(maxSample<T>) + 0.5F);
        const auto near = hn::Set(d, error);
        for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d)) {
            const auto s = WeightedSum(d, planes + i, floatWeights, bands.msBands);
            const auto ratio = hn::IfThenElseZero(hn::Ne(s, zero), hn::Div(LoadReal(d, pan + i), s));
            auto doubt = hn::Lt(zero, zero);
            for (std::uint32_t c = 0; c < bands.outputBands; ++c) {
                T* samples = planes + c * blockPixels + i;
                // Beyond these limits the sample is 0 or the largest whatever the error.
                const auto x = hn::Min(hn::Max(hn::Mul(LoadReal(d, samples), ratio), least), most);
                doubt = hn::Or(doubt, hn::Lt(hn::Abs(hn::Sub(x, hn::Round(x))), near));
                StoreTruncatedLanes(d, x, samples);
            }
            AddDoubts(d, doubt, i, doubts);
        }
        return doubts.count <= mostDoubts;
    }

    HWY_ATTR void Exact(T* planes, const T* HWY_RESTRICT pan, std::size_t pixels) const {
        const hn::ScalableTag<double> d;
        const auto zero = hn::Zero(d);
        const auto most = hn::Set(d, maxSample<T>);
        for (std::size_t i = 0; i < pixels; i += hn::Lanes(d)) {
            const auto s = WeightedSum(d, planes + i, bands.weights, bands.msBands);
            const auto ratio = hn::IfThenElseZero(hn::Ne(s, zero), hn::Div(LoadReal(d, pan + i), s));
            for (std::uint32_t c = 0; c < bands.outputBands; ++c) {
                T* samples = planes + c * blockPixels + i;
                const auto x = hn::Mul(LoadReal(d, samples), ratio);
                const auto positive = hn::IfThenElseZero(hn::Ge(x, zero), x); // not-a-number stores 0
                StoreTruncatedLanes(d, hn::Min(positive, most), samples);
            }
        }
    }

    const BandWeights& bands;
    bool isFloat = false;
    float error = 0.0F; ///< of a result
    float floatWeights[mostBands] = {};
};

template <class T>
HWY_ATTR void BroveyRow(const T* ms, const T* pan, T* out, std::size_t pixels, const BandWeights& bands) {
    if (bands.msBands > mostBands) return BroveyRowScalar(ms, pan, out, pixels, bands);
    FuseBlocks(ms, pan, out, pixels, bands, BroveyWay<T>(bands));
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
