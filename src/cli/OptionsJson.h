#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"

namespace cli {

/// "pansharp --options-json": every command with its inputs and options, for programs that make a form of
/// them; "open" lists the options that a description of a scene has room for. Without a plug-in that works
/// "--method" has no choices.
[[nodiscard]] ExitCode PrintOptions(const Arguments& arguments);

} // namespace cli
