#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"

namespace cli {

/// "pansharp assess": how good a fused image is, by the truth or by the pair that it was made of.
[[nodiscard]] ExitCode RunAssess(const Arguments& arguments);

} // namespace cli
