// Halves rows down first and then across, in loops that the compiler turns into vectors of the target.
#include "kernels/HalveRow.h"
#include "kernels/Simd.h"

#include <algorithm>
#include <limits>

#ifndef HWY_TARGET_INCLUDE // not joined with others
#define HWY_TARGET_INCLUDE "kernels/HalveRowSimd.cpp"
#endif
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/highway.h>

#include "kernels/Planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

/// Adds the outermost pair of pixels first.
template <class Sum>
HWY_ATTR HWY_INLINE Sum Weigh(Sum outer, Sum third, Sum second, Sum inner) {
    return static_cast<Sum>(halvingWeights[3]) * inner + static_cast<Sum>(halvingWeights[2]) * second +
           static_cast<Sum>(halvingWeights[1]) * third + static_cast<Sum>(halvingWeights[0]) * outer;
}

/// Separates the columns with even numbers from those with odd numbers.
template <std::size_t fixedBands, class T>
HWY_ATTR void Split(const T* HWY_RESTRICT down, std::size_t pixels, std::size_t anyBands,
                    T* HWY_RESTRICT even, T* HWY_RESTRICT odd) {
    const std::size_t bands = fixedBands > 0 ? fixedBands : anyBands;
    for (std::size_t x = 0; x < pixels; ++x)
        for (std::size_t band = 0; band < bands; ++band) {
            even[x * bands + band] = down[2 * x * bands + band];
            odd[x * bands + band] = down[(2 * x + 1) * bands + band];
        }
}

template <class T>
HWY_ATTR void Halve(const std::array<const T*, 8>& rows, std::size_t pixels, std::size_t bands,
                    HalvingSum<T>* HWY_RESTRICT room, T* HWY_RESTRICT out) {
    using Sum = HalvingSum<T>;
    constexpr std::size_t blockSamples = 1024;
    const std::size_t samples = pixels * bands;
    Sum* HWY_RESTRICT even = room;
    Sum* HWY_RESTRICT odd = room + samples;
    Sum* HWY_RESTRICT down = room + 2 * samples;
    // Down: in whole numbers of 32 bits, which hold the sums of either type.
    for (std::size_t begin = 0; begin < 2 * samples; begin += blockSamples) {
        const std::size_t end = std::min(begin + blockSamples, 2 * samples);
        for (std::size_t i = begin; i < end; ++i) {
            const auto pair = [&](std::size_t row) HWY_ATTR {
                return std::int32_t{rows[row][i]} + std::int32_t{rows[7 - row][i]};
            };
            down[i] = static_cast<Sum>(Weigh<std::int32_t>(pair(0), pair(1), pair(2), pair(3)));
        }
    }
    switch (bands) {
    case 1:
        Split<1>(down, pixels, bands, even, odd);
        break;
    case 3:
        Split<3>(down, pixels, bands, even, odd);
        break;
    case 4:
        Split<4>(down, pixels, bands, even, odd);
        break;
    default:
        Split<0>(down, pixels, bands, even, odd);
    }
    constexpr float most = std::numeric_limits<T>::max();
    for (std::size_t i = 2 * bands; i + 2 * bands < samples; ++i) {
        const Sum sum = Weigh<Sum>(odd[i - 2 * bands] + even[i + 2 * bands], even[i - bands] + odd[i + bands],
                                   odd[i - bands] + even[i + bands], even[i] + odd[i]);
        // A division by a power of two is exact.
        const float value = static_cast<float>(sum) * (1.0f / 65536.0f) + 0.5f;
        out[i] = static_cast<T>(static_cast<std::int32_t>(std::min(std::max(value, 0.0f), most)));
    }
}

HalveRow<unsigned char> Halve8() { return &Halve<unsigned char>; }
HalveRow<unsigned short> Halve16() { return &Halve<unsigned short>; }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(Halve8);
PANSHARP_EXPORT(Halve16);

template <>
HalveRow<unsigned char> HalveRowFor(SimdTarget target) {
    return ForTarget<HalveRow<unsigned char>>(target, &HalveRowScalar<unsigned char>,
                                              HWY_DISPATCH_TABLE(Halve8));
}

template <>
HalveRow<unsigned short> HalveRowFor(SimdTarget target) {
    return ForTarget<HalveRow<unsigned short>>(target, &HalveRowScalar<unsigned short>,
                                               HWY_DISPATCH_TABLE(Halve16));
}

} // namespace kernels
#endif
