#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"

namespace cli {

/// "pansharp batch": sharpens scenes one after another and prints a line of JSON for each (docs/batch.md).
/// Throws UsageError, and std::runtime_error when the results cannot be written.
[[nodiscard]] ExitCode RunBatch(const Arguments& arguments);

} // namespace cli
