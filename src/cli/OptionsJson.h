#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"

namespace cli {

/// "pansharp --options-json": every command with its inputs and options, for programs that build a form from
/// them. "open" lists the options that a description of a scene may have. Without a working plug-in
/// "--method" has no choices.
[[nodiscard]] ExitCode PrintOptions(const Arguments& arguments);

} // namespace cli
