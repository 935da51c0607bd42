#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"

namespace cli {

ExitCode RunView(Arguments arguments);

} // namespace cli
