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

/// Fuses a block of planes in place: `bands.outputBands` of them.
template <class T>
HWY_ATTR void BroveyBlock(T* planes, const T* HWY_RESTRICT pan, const BandWeights& bands) {
    const hn::ScalableTag<double> d;
    const auto zero = hn::Zero(d);
    const auto most = hn::Set(d, maxSample<T>);
    for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d)) {
        const auto s = WeightedSum(d, planes + i, bands.weights, bands.msBands);
        const auto ratio = hn::IfThenElseZero(hn::Ne(s, zero), hn::Div(LoadAsDouble(d, pan + i), s));
        for (std::uint32_t c = 0; c < bands.outputBands; ++c) {
            T* samples = planes + c * blockPixels + i;
            const auto x = hn::Mul(LoadAsDouble(d, samples), ratio);
            const auto positive = hn::IfThenElseZero(hn::Ge(x, zero), x); // not-a-number stores 0
            StoreTruncatedLanes(d, hn::Min(positive, most), samples);
        }
    }
}

template <class T>
HWY_ATTR void BroveyRow(const T* ms, const T* pan, T* out, std::size_t pixels, const BandWeights& bands) {
    if (bands.msBands > mostBands) return BroveyRowScalar(ms, pan, out, pixels, bands);
    FuseBlocks(ms, pan, out, pixels, bands,
               [&](T* planes, const T* panBlock) HWY_ATTR { BroveyBlock(planes, panBlock, bands); });
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
