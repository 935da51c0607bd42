#include "kernels/Simd.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <vector>

namespace {

// Highway's library detects the processor independently. It finds no AVX2 without F16C, which is not needed.
TEST(SimdTargets, AreThoseThatHighwayFinds) {
    std::int64_t unseen = HWY_SCALAR | HWY_EMU128;
#if HWY_ARCH_X86
    if (!__builtin_cpu_supports("f16c")) unseen |= HWY_AVX2 | HWY_AVX3;
#endif
    std::vector<kernels::SimdTarget> expected, found = kernels::SimdTargets();
    for (const auto target : hwy::SupportedAndGeneratedTargets())
        if ((target & unseen) == 0) expected.push_back(target);
    expected.push_back(0);
    std::erase_if(found, [&](const auto target) { return (target & unseen) != 0; });
    EXPECT_EQ(found, expected);
}

} // namespace
