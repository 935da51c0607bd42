#include "cli/Plugin.h"

namespace cli {

std::unique_ptr<hostkit::PluginLibrary> LoadPlugin(const CommandLine& line,
                                                   KOVA::Tessara::Fundament::Status& status) {
    const std::string path =
        hostkit::FindPlugin(line.Has("--plugin") ? line.Get("--plugin") : std::string(), status);
    return path.empty() ? nullptr : hostkit::PluginLibrary::Load(path, status);
}

} // namespace cli
