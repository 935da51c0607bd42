#include "kernels/Simd.h"

#include <hwy/targets.h>

#include <algorithm>
#include <cstdlib>

namespace kernels {

namespace {

// What lies below has no double-precision vectors or is emulated; the scalar definition is as fast.
constexpr std::int64_t unused = HWY_SCALAR | HWY_EMU128;

/// Bits count from the best target up. Asked once: a virtual machine takes as long to answer as a small
/// window to fuse.
std::int64_t Available() {
    static const std::int64_t targets = [] {
        std::int64_t found = 0;
        for (const std::int64_t target : hwy::SupportedAndGeneratedTargets())
            found |= target & ~unused;
        return found;
    }();
    return targets;
}

} // namespace

std::vector<SimdTarget> SimdTargets() {
    std::vector<SimdTarget> targets;
    for (std::int64_t left = Available(); left != 0; left &= left - 1)
        targets.push_back(left & -left);
    targets.push_back(0);
    return targets;
}

std::string SimdTargetName(SimdTarget target) {
    if (target == 0) return "scalar";
    std::string name = hwy::TargetName(target);
    for (char& c : name)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return name;
}

SimdTarget ChosenSimdTarget() {
    const std::vector<SimdTarget> targets = SimdTargets();
    if (const char* wanted = std::getenv("PANSHARP_SIMD"))
        for (const SimdTarget target : targets)
            if (SimdTargetName(target) == wanted) return target;
    return targets.front();
}

} // namespace kernels
