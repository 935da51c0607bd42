#include "kernels/Simd.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <vector>

namespace {

// Highway's library detects the processor independently.
TEST(SimdTargets, AreThoseThatHighwayFinds) {
    std::vector<kernels::SimdTarget> expected;
    for (const auto target : hwy::SupportedAndGeneratedTargets())
        if ((target & (HWY_SCALAR | HWY_EMU128)) == 0) expected.push_back(target);
    expected.push_back(0);
    EXPECT_EQ(kernels::SimdTargets(), expected);
}

} // namespace
