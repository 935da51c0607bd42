#pragma once

#include "cli/CommandLine.h"

namespace cli {

/// Makes this process, and the plug-in that it loads afterwards, use the vector instructions named by --simd
/// or by the environment variable PANSHARP_SIMD; "scalar" means none. Throws UsageError, with a list of those
/// that can run, for any other name.
void ForceVectorTarget(const CommandLine& line);

} // namespace cli
