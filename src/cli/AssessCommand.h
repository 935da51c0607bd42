#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"

namespace cli {

/// "pansharp assess": measures the quality of a fused image, against the truth or the pair that it was made
/// from.
[[nodiscard]] ExitCode RunAssess(const Arguments& arguments);

} // namespace cli
