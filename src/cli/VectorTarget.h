#pragma once

#include <string>

namespace cli {

/// Makes this process, and the plug-in that it loads afterwards, use these vector instructions, or "scalar"
/// for none. Throws UsageError, with those that can run, for any other.
void ForceVectorTarget(const std::string& name);

} // namespace cli
