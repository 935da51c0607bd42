#pragma once

#include "cli/Arguments.h"
#include "host/Describe.h"

#include <string>
#include <vector>

namespace cli {

/// Checks what depends on the plug-in. Replaces the method by its keyword as the plug-in spells it, refuses
/// weights for a method without weights, and returns a warning for weights of another method's run and for
/// each property unknown to the plug-in. Throws UsageError.
std::vector<std::string> FitToPlugin(const PansharpDescription& plugin, Arguments& request);

} // namespace cli
