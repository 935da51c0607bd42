#include "kernels/Simd.h"

#include <hwy/targets.h>

#include <algorithm>
#include <cstdlib>

namespace kernels {

namespace {

// These targets have no double-precision vectors or are emulated: the scalar definition is as fast.
constexpr std::int64_t unused = HWY_SCALAR | HWY_EMU128;

/// Cached: in a virtual machine, asking the processor takes as long as fusing a small window.
const std::vector<SimdTarget>& KnownTargets() {
    static const std::vector<SimdTarget> known = [] {
        std::vector<SimdTarget> targets;
        for (const std::int64_t target : hwy::SupportedAndGeneratedTargets())
            if ((target & unused) == 0) targets.push_back(target); // bits count from the best target up
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
