#include "rasterhost/writing/RunFiles.h"

#include "fundament/Text.h"
#include "hostkit/PluginLibrary.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/reading/NetworkFile.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/requests/HostStatus.h"
#include "rasterhost/requests/Operation.h"

#include <gdal_priv.h>

#include <optional>
#include <string_view>

namespace rasterhost {

using KOVA::Tessara::Fundament::StartsWith;

namespace {

/// Files within a name such as "/vsizip/{a.zip}/b.tif", "/vsisubfile/0_10,a.bin" or "HDF5:a.h5://b": every
/// piece between delimiters that is the name of a file.
std::vector<std::string> FilesWithin(const std::string& name) {
    constexpr std::string_view delimiters = "/,{}:\"?&=";
    constexpr std::size_t longest = 4096; // a longer one is a document
    const auto isFile = [](const std::string& piece) {
        return !StartsWith(piece, "/vsi", false) && LookAt(piece).isFile;
    };
    if (name.size() > longest) return {};
    if (isFile(name)) return {name};
    std::vector<std::size_t> starts{0}, ends{name.size()};
    for (std::size_t at = name.find_first_of(delimiters); at != std::string::npos;
         at = name.find_first_of(delimiters, at + 1)) {
        if (name[at] == '/') starts.push_back(at);
        starts.push_back(at + 1);
        ends.push_back(at);
    }
    std::vector<std::string> files;
    for (const std::size_t start : starts)
        for (const std::size_t end : ends)
            if (end > start && isFile(name.substr(start, end - start)))
                files.push_back(name.substr(start, end - start));
    return files;
}

/// A file on the network is identified only by its name.
std::optional<FileIdentity> IdentityOf(const std::string& name) {
    return IsOnNetwork(name) ? FileIdentity{0, 0, name} : Identify(name);
}

} // namespace

void RunFiles::Add(const std::string& file, const std::string& use) { Note(file, use); }

void RunFiles::AddRaster(const std::string& name, const std::string& use) {
    Note(name, use);
    rasters.emplace_back(name, use);
}

/// False when it is already known.
bool RunFiles::Note(const std::string& file, const std::string& use) {
    const auto identity = IdentityOf(file);
    return identity && uses.emplace(*identity, use).second;
}

void RunFiles::Expand(const std::string& name, const std::string& use, int level) {
    constexpr int mostLevels = 32;
    bool isNew = level == 0;
    for (const std::string& file : FilesWithin(name))
        isNew = Note(file, use) || isNew;
    const FileState state = LookAt(name);
    if (!isNew || level >= mostLevels || (state.exists && !state.isFile && !state.isFolder)) return;
    const GdalErrors silence;
    const GDALDatasetUniquePtr dataset(OpenRaster(name, false));
    const CPLStringList list(dataset ? dataset->GetFileList() : nullptr);
    for (int i = 0; i < list.size(); ++i)
        Expand(list[i], use, level + 1);
}

std::string RunFiles::FindUse(const std::string& file) {
    const auto identity = IdentityOf(file);
    if (!identity) return {};
    if (identity->name.empty() && !rasters.empty()) {
        RegisterDrivers();
        for (const auto& [name, use] : rasters)
            Expand(name, use, 0);
        rasters.clear();
    }
    const auto found = uses.find(*identity);
    return found == uses.end() ? std::string() : found->second;
}

RunFiles FilesOf(const PairRequest& pair, const RunOptions& options) {
    RunFiles files;
    const std::string use = "one of the inputs";
    files.AddRaster(pair.pan.file, use);
    for (const InputBand& input : pair.multispectral)
        files.AddRaster(input.file, use);
    if (pair.infrared) files.AddRaster(pair.infrared->file, use);
    Status ignored; // without a plug-in the run fails anyway
    if (const std::string plugin = hostkit::FindPlugin(options.plugin, ignored); !plugin.empty())
        files.Add(plugin, "the plug-in");
    return files;
}

RunFiles FilesOf(const SharpenRequest& request) {
    RunFiles files = FilesOf(request, request);
    for (const auto& [file, what] : request.otherFiles)
        files.Add(file, what);
    return files;
}

} // namespace rasterhost
