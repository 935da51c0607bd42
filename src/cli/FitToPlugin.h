#pragma once

#include "cli/Arguments.h"
#include "host/Describe.h"

#include <string>
#include <vector>

namespace cli {

/// Checks what depends on the plug-in, and replaces the method by its keyword as the plug-in spells it.
/// Returns a warning for weights of another method's run, and for each property unknown to the plug-in.
/// Throws UsageError for an unknown method, and for weights or gains that the method does not have.
std::vector<std::string> FitToPlugin(const PansharpDescription& plugin, Arguments& request);

} // namespace cli
