#pragma once

#include "cli/Arguments.h"
#include "host/Describe.h"

#include <string>
#include <vector>

namespace cli {

/// Checks what depends on the plug-in: puts the keyword as the plug-in writes it in place of the method,
/// refuses weights for a method without any, and returns a warning for weights of another method's run and
/// for each property that the plug-in does not know. Throws UsageError.
std::vector<std::string> FitToPlugin(const PansharpDescription& plugin, Arguments& request);

} // namespace cli
