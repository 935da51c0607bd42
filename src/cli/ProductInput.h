#pragma once

#include "cli/Arguments.h"

#include <string>

/// Products on the command line: a folder, archive or metadata file in the place of a pair.
namespace cli {

/// Takes the images of a product. False when the name is none of one. Throws UsageError for a product that
/// cannot be fused, and for several.
[[nodiscard]] bool TakesProduct(const std::string& name, Arguments& to);

/// What was recognised, which is printed first: the product, pan, bands, what is left out and why.
[[nodiscard]] std::string FormatProduct(const Arguments& request);

} // namespace cli
