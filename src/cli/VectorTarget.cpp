#include "cli/VectorTarget.h"

#include "cli/ExitCode.h"
#include "cli/Platform.h"
#include "fundament/Text.h"
#include "kernels/Simd.h"

namespace cli {

void ForceVectorTarget(const std::string& name) {
    const std::string wanted = KOVA::Tessara::Fundament::ToLower(name);
    std::string listed;
    for (const kernels::SimdTarget target : kernels::SimdTargets()) {
        const std::string each = kernels::SimdTargetName(target);
        if (each == wanted) return platform::SetEnvironment("PANSHARP_SIMD", each.c_str());
        listed += (listed.empty() ? "" : ", ") + each;
    }
    throw UsageError("--simd: '" + name + "' cannot run here; what can is " + listed);
}

} // namespace cli
