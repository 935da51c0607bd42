#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kernels {

/// A vector target of this build that this processor supports; 0 means the scalar definition.
using SimdTarget = std::int64_t;

/// All targets that can run here, best first and the scalar one last.
[[nodiscard]] std::vector<SimdTarget> SimdTargets();

/// In lower case: "avx3", "avx2", "sse4", "neon", ..., "scalar".
[[nodiscard]] std::string SimdTargetName(SimdTarget target);

/// The target in use: the best one, unless the environment variable PANSHARP_SIMD names another that can run
/// here. It is determined once.
[[nodiscard]] SimdTarget ChosenSimdTarget();

/// The target of one object: the one that was set, else ChosenSimdTarget.
struct SimdChoice {
    [[nodiscard]] SimdTarget Get() const { return given ? *given : ChosenSimdTarget(); }
    std::optional<SimdTarget> given;
};

} // namespace kernels
