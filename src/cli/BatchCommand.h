#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"

namespace cli {

/// Sharpens scenes one after the other and prints a line of JSON for each (docs/batch.md). Throws UsageError,
/// and std::runtime_error when the results cannot be written.
[[nodiscard]] ExitCode RunBatch(const Arguments& arguments);

} // namespace cli
