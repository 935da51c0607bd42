// KOVA in vectors of whatever width the processor has; the same bytes as the scalar definition.
#include "kernels/KovaRow.h"
#include "kernels/Simd.h"
#include "kernels/Store.h"

#include <algorithm>
#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/KovaRowSimd.cpp"
#include <hwy/foreach_target.h>
// Highway asks for this order.
#include <hwy/highway.h>

#include "kernels/Planes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

// Every output band of a pixel is round(clamp(ms + d)), which is clamp(ms + r) for the whole number
// r = floor(d + 1/2), whenever the two roundings on the way cannot carry ms + d across a half:
//  - |d| < 2^20, so that both are at most 2^-33, and
//  - d lies farther than 2^-30 from a half, or exactly on one, where nothing is rounded.
// The first depends on the weights alone. Where a pixel fails the second, its block takes the long way.
constexpr double mostShift = 1048576.0;
constexpr double nearHalf = 1.0 / (1 << 30);

template <class T>
using ShiftOf = std::conditional_t<sizeof(T) == 1, std::int16_t, std::int32_t>;

/// True when no pixel can have a difference of mostShift or more.
template <class T>
bool BoundsShifts(const BandWeights& bands) {
    double most = maxSample<T>;
    for (std::uint32_t band = 0; band < bands.msBands; ++band)
        most += std::fabs(bands.weights[band]) * maxSample<T>;
    return most < mostShift;
}

/// Shifts of a block of pixels; false when some pixel lies too near to a half.
template <class T>
HWY_ATTR bool BlockShifts(const T* HWY_RESTRICT planes, const T* HWY_RESTRICT pan, const BandWeights& bands,
                          ShiftOf<T>* HWY_RESTRICT shifts) {
    const hn::ScalableTag<double> d;
    const hn::Rebind<std::int32_t, decltype(d)> d32;
    const hn::Rebind<ShiftOf<T>, decltype(d)> dShift;
    const auto half = hn::Set(d, 0.5);
    auto least = half;
    auto most = half;
    for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d)) {
        const auto s = WeightedSum(d, planes + i, bands.weights, bands.msBands);
        const auto difference = hn::Sub(LoadAsDouble(d, pan + i), s);
        const auto shift = hn::Floor(hn::Add(difference, half));
        const auto above =
            hn::Sub(difference, hn::Sub(shift, half)); // the half below, in [0, 1] but for rounding
        least = hn::Min(least, hn::IfThenElse(hn::Eq(above, hn::Zero(d)), half, above));
        most = hn::Max(most, above);
        const auto whole = hn::DemoteTo(d32, shift);
        if constexpr (sizeof(T) == 1)
            hn::Store(hn::DemoteTo(dShift, whole), dShift,
                      shifts + i); // saturated, far outside a sample's range
        else
            hn::Store(whole, dShift, shifts + i);
    }
    return hn::AllTrue(
        d, hn::And(hn::Gt(least, hn::Set(d, nearHalf)), hn::Lt(most, hn::Set(d, 1.0 - nearHalf))));
}

/// clamp(ms + shift) for a plane of 8-bit samples.
HWY_ATTR void ShiftPlane(unsigned char* plane, const std::int16_t* HWY_RESTRICT shifts) {
    const hn::ScalableTag<std::int16_t> d16;
    const hn::Rebind<std::uint8_t, decltype(d16)> d8;
    for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d16)) {
        const auto sum =
            hn::SaturatedAdd(hn::PromoteTo(d16, hn::LoadU(d8, plane + i)), hn::Load(d16, shifts + i));
        hn::StoreU(hn::DemoteTo(d8, sum), d8, plane + i);
    }
}

HWY_ATTR void ShiftPlane(unsigned short* plane, const std::int32_t* HWY_RESTRICT shifts) {
    const hn::ScalableTag<std::int32_t> d32;
    const hn::Rebind<std::uint16_t, decltype(d32)> d16;
    for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d32)) {
        const auto sum = hn::Add(hn::PromoteTo(d32, hn::LoadU(d16, plane + i)), hn::Load(d32, shifts + i));
        hn::StoreU(hn::DemoteTo(d16, sum), d16, plane + i);
    }
}

/// round(clamp(ms + d)) in double, for any weights.
template <class T>
HWY_ATTR void AddDifferences(T* planes, const T* HWY_RESTRICT pan, const BandWeights& bands) {
    const hn::ScalableTag<double> d;
    for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d)) {
        const auto s = WeightedSum(d, planes + i, bands.weights, bands.msBands);
        const auto difference = hn::Sub(LoadAsDouble(d, pan + i), s);
        for (std::uint32_t c = 0; c < bands.outputBands; ++c) {
            T* samples = planes + c * blockPixels + i;
            const auto x = hn::Add(LoadAsDouble(d, samples), difference);
            const auto positive = hn::IfThenElseZero(hn::Ge(x, hn::Zero(d)), x); // not-a-number stores 0
            const auto clamped = hn::Min(positive, hn::Set(d, maxSample<T>));
            StoreTruncatedLanes(d, hn::Add(clamped, hn::Set(d, 0.5)), samples);
        }
    }
}

template <class T>
HWY_ATTR void KovaRow(const T* ms, const T* pan, T* out, std::size_t pixels, const BandWeights& bands) {
    if (bands.msBands > mostBands) return KovaRowScalar(ms, pan, out, pixels, bands);
    const bool bounded = BoundsShifts<T>(bands);
    FuseBlocks(ms, pan, out, pixels, bands, [&](T* planes, const T* panBlock) HWY_ATTR {
        HWY_ALIGN ShiftOf<T> shifts[blockPixels];
        if (bounded && BlockShifts(planes, panBlock, bands, shifts)) {
            for (std::uint32_t c = 0; c < bands.outputBands; ++c)
                ShiftPlane(planes + c * blockPixels, shifts);
        } else {
            AddDifferences(planes, panBlock, bands);
        }
    });
}

void KovaRow8(const unsigned char* ms, const unsigned char* pan, unsigned char* out, std::size_t pixels,
              const BandWeights& bands) {
    KovaRow(ms, pan, out, pixels, bands);
}

void KovaRow16(const unsigned short* ms, const unsigned short* pan, unsigned short* out, std::size_t pixels,
               const BandWeights& bands) {
    KovaRow(ms, pan, out, pixels, bands);
}

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

HWY_EXPORT(KovaRow8);
HWY_EXPORT(KovaRow16);

template <>
FuseRow<unsigned char> KovaRowFor(SimdTarget target) {
    return target == 0 ? &KovaRowScalar<unsigned char> : HWY_DISPATCH_TABLE(KovaRow8)[DispatchIndex(target)];
}

template <>
FuseRow<unsigned short> KovaRowFor(SimdTarget target) {
    return target == 0 ? &KovaRowScalar<unsigned short>
                       : HWY_DISPATCH_TABLE(KovaRow16)[DispatchIndex(target)];
}

} // namespace kernels
#endif
