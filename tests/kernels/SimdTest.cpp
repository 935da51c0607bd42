#include "kernels/Simd.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

#if defined(__x86_64__)
// The compiler's run-time detects the processor independently.
TEST(SimdTargets, AreThoseOfTheProcessor) {
    const auto has = [](const char* name) {
        const auto targets = kernels::SimdTargets();
        return std::any_of(targets.begin(), targets.end(),
                           [name](auto target) { return kernels::SimdTargetName(target) == name; });
    };
    EXPECT_EQ(has("sse4"), __builtin_cpu_supports("sse4.2") && __builtin_cpu_supports("aes"));
    EXPECT_EQ(has("avx2"), __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"));
    EXPECT_EQ(has("avx3"), __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl"));
}
#endif

} // namespace
