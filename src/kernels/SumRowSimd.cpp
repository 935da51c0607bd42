// Sums in vectors of up to eight numbers: the same operations in the same order as the scalar ones.
#include "kernels/Simd.h"
#include "kernels/SumRow.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/SumRowSimd.cpp"
#include <hwy/foreach_target.h>
// Highway asks for this order.
#include <hwy/highway.h>

#include "kernels/Planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

HWY_ATTR void AddWeightedInVectors(const unsigned short* samples, double weight, std::size_t count,
                                   double* sums) {
    const hn::CappedTag<double, sumParts> d;
    const hn::Rebind<std::int32_t, decltype(d)> whole;
    const hn::Rebind<unsigned short, decltype(d)> narrow;
    const std::size_t lanes = hn::Lanes(d);
    const auto weights = hn::Set(d, weight);
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto numbers = hn::PromoteTo(d, hn::PromoteTo(whole, hn::LoadU(narrow, samples + i)));
        hn::StoreU(hn::Add(hn::LoadU(d, sums + i), hn::Mul(weights, numbers)), d, sums + i);
    }
    AddWeightedScalar(samples + i, weight, count - i, sums + i);
}

HWY_ATTR void AddProductsInVectors(const double* rows, std::size_t length,
                                   const std::pair<std::size_t, std::size_t>* pairs, std::size_t pairCount,
                                   double* parts) {
    const hn::CappedTag<double, sumParts> d;
    for (std::size_t pair = 0; pair < pairCount; ++pair, parts += sumParts) {
        const double* a = rows + pairs[pair].first * length;
        const double* b = rows + pairs[pair].second * length;
        for (std::size_t part = 0; part < sumParts; part += hn::Lanes(d)) {
            auto sum = hn::LoadU(d, parts + part);
            for (std::size_t i = part; i < length; i += sumParts)
                sum = hn::Add(sum, hn::Mul(hn::LoadU(d, a + i), hn::LoadU(d, b + i)));
            hn::StoreU(sum, d, parts + part);
        }
    }
}

AddWeighted AddWeightedHere() { return &AddWeightedInVectors; }
AddProducts AddProductsHere() { return &AddProductsInVectors; }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

HWY_EXPORT(AddWeightedHere);
HWY_EXPORT(AddProductsHere);

AddWeighted AddWeightedFor(SimdTarget target) {
    return ForTarget<AddWeighted>(target, &AddWeightedScalar, HWY_DISPATCH_TABLE(AddWeightedHere));
}

AddProducts AddProductsFor(SimdTarget target) {
    return ForTarget<AddProducts>(target, &AddProductsScalar, HWY_DISPATCH_TABLE(AddProductsHere));
}

} // namespace kernels
#endif
