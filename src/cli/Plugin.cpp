#include "cli/Plugin.h"

namespace cli {

std::unique_ptr<hostkit::PluginLibrary> LoadPlugin(const CommandLine& line,
                                                   KOVA::Tessara::Fundament::Status& status) {
    return hostkit::PluginLibrary::FindAndLoad(line.Has("--plugin") ? line.Get("--plugin") : std::string(),
                                               status);
}

} // namespace cli
