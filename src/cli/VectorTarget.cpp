#include "cli/VectorTarget.h"

#include "cli/ExitCode.h"
#include "cli/Platform.h"
#include "fundament/Text.h"
#include "kernels/Simd.h"

#include <cstdlib>
#include <string>

namespace cli {

namespace {

constexpr const char* variable = "PANSHARP_SIMD";

void Force(const std::string& origin, const std::string& name) {
    const std::string wanted = KOVA::Tessara::Fundament::ToLower(name);
    std::string listed;
    for (const kernels::SimdTarget target : kernels::SimdTargets()) {
        const std::string each = kernels::SimdTargetName(target);
        if (each == wanted) return platform::SetEnvironment(variable, each.c_str());
        listed += (listed.empty() ? "" : ", ") + each;
    }
    throw UsageError(origin + ": '" + name +
                     "' cannot run on this processor; choose one of these: " + listed);
}

} // namespace

void ForceVectorTarget(const CommandLine& line) {
    if (line.Has(option::simd)) return Force("--simd", line.Get(option::simd));
    if (const char* named = std::getenv(variable); named && *named)
        Force(std::string("the environment variable ") + variable, named);
}

} // namespace cli
