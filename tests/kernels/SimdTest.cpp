#include "kernels/Simd.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <vector>
#if HWY_ARCH_X86
#include <cpuid.h>
#endif

namespace {

bool HasF16C() {
#if HWY_ARCH_X86
    unsigned a = 0, b = 0, c = 0, d = 0; // registers
    return __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & bit_F16C) != 0;
#else
    return false;
#endif
}

// Highway's library detects the processor independently. It finds no AVX2 without F16C, which is not needed.
TEST(SimdTargets, AreThoseThatHighwayFinds) {
    std::int64_t unseen = HWY_SCALAR | HWY_EMU128;
    if (!HasF16C()) unseen |= HWY_AVX2 | HWY_AVX3;
    std::vector<kernels::SimdTarget> expected, found = kernels::SimdTargets();
    for (const auto target : hwy::SupportedAndGeneratedTargets())
        if ((target & unseen) == 0) expected.push_back(target);
    expected.push_back(0);
    std::erase_if(found, [&](const auto target) { return (target & unseen) != 0; });
    EXPECT_EQ(found, expected);
}

} // namespace
