#pragma once

#include "cli/Arguments.h"

#include <string>

/// Products on the command line: a folder, archive or metadata file instead of a pair.
namespace cli {

/// Takes the images of a product. False when the name is not that of a product. Throws UsageError for a
/// product that cannot be fused, and for several products.
[[nodiscard]] bool TakesProduct(const std::string& name, Arguments& to);

/// The recognised product, printed first: its kind, pan, bands, and what is left out and why.
[[nodiscard]] std::string FormatProduct(const Arguments& request);

} // namespace cli
