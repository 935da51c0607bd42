#pragma once

#include "cli/CommandLine.h"

namespace cli {

/// Makes this process, and the plug-in that it loads afterwards, use the vector instructions that --simd
/// names, or the environment variable PANSHARP_SIMD: "scalar" for none. Throws UsageError, with those that
/// can run, when they name any other.
void ForceVectorTarget(const CommandLine& line);

} // namespace cli
