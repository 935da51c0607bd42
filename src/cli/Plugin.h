#pragma once

#include "cli/CommandLine.h"
#include "hostkit/PluginLibrary.h"

#include <memory>

namespace cli {

/// The plug-in that the command line or the environment names, or the installed one. Null with the reasons in
/// `status`.
[[nodiscard]] std::unique_ptr<hostkit::PluginLibrary> LoadPlugin(const CommandLine& line,
                                                                 KOVA::Tessara::Fundament::Status& status);

} // namespace cli
