#include "kernels/Simd.h"

#include <hwy/targets.h>

#include <algorithm>
#include <cstdlib>

namespace kernels {

namespace {

// These targets have no double-precision vectors or are emulated: the scalar definition is as fast.
constexpr std::int64_t unused = HWY_SCALAR | HWY_EMU128;

/// What this processor and its system support. F16C is not asked for: no kernel has half-precision numbers.
std::int64_t SupportedTargets() {
#if HWY_ARCH_X86 // by the run-time of the compiler, so that Highway's library need not be loaded
    __builtin_cpu_init();
    std::int64_t targets = 0;
    if (!__builtin_cpu_supports("ssse3") || !__builtin_cpu_supports("sse4.1") ||
        !__builtin_cpu_supports("sse4.2") || !__builtin_cpu_supports("pclmul") ||
        !__builtin_cpu_supports("aes"))
        return targets;
    targets |= HWY_SSE4;
    if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma") || !__builtin_cpu_supports("bmi") ||
        !__builtin_cpu_supports("bmi2"))
        return targets;
    targets |= HWY_AVX2;
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
        __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq"))
        targets |= HWY_AVX3;
    return targets;
#else
    return hwy::SupportedTargets();
#endif
}

/// Cached: in a virtual machine, asking the processor takes as long as fusing a small window.
const std::vector<SimdTarget>& KnownTargets() {
    static const std::vector<SimdTarget> known = [] {
        std::vector<SimdTarget> targets;
        std::int64_t left = SupportedTargets() & HWY_TARGETS & ~unused;
        for (; left != 0; left &= left - 1) // bits count from the best target up
            targets.push_back(left & -left);
        targets.push_back(0);
        return targets;
    }();
    return known;
}

} // namespace

std::vector<SimdTarget> SimdTargets() { return KnownTargets(); }

std::string SimdTargetName(SimdTarget target) {
    if (target == 0) return "scalar";
    std::string name = hwy::TargetName(target);
    for (char& c : name)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return name;
}

SimdTarget ChosenSimdTarget() {
    const std::vector<SimdTarget>& targets = KnownTargets();
    if (const char* wanted = std::getenv("PANSHARP_SIMD"))
        for (const SimdTarget target : targets)
            if (SimdTargetName(target) == wanted) return target;
    return targets.front();
}

} // namespace kernels
