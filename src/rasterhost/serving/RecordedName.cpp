#include "rasterhost/serving/RecordedName.h"

#include "fundament/Text.h"
#include "rasterhost/writing/FileMoves.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <system_error>

namespace rasterhost {

using KOVA::Tessara::Fundament::StartsWith;

namespace {

namespace fs = std::filesystem;

bool IsOfGdal(const std::string& name) { return StartsWith(name, "/vsi", false); }

/// The folder of a description, after its link is followed.
fs::path FolderOf(const std::string& description) {
    return fs::path(IsOfGdal(description) ? description : FollowLinks(description)).parent_path();
}

/// True when a path without links and ".." is the folder or lies below it.
bool LiesIn(const fs::path& folder, const fs::path& path) {
    return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first == folder.end();
}

/// The file that a name within archives begins with, and its position in the name; none for other names.
struct NamedArchive {
    std::string file;
    std::size_t place = 0;
};

std::optional<NamedArchive> FindArchive(const std::string& name) {
    std::string rest = name;
    bool isWithin = false;
    for (bool goesOn = true; goesOn;) {
        goesOn = false;
        for (const char* prefix : {"/vsizip/", "/vsitar/", "/vsigzip/"})
            if (StartsWith(rest, prefix, false)) {
                rest = rest.substr(std::string(prefix).size());
                isWithin = goesOn = true;
            }
        if (StartsWith(rest, "{", false)) rest = rest.substr(1);
    }
    if (!isWithin || IsOfGdal(rest)) return std::nullopt;
    std::error_code failure;
    for (std::size_t end = 1; end <= rest.size(); ++end)
        if (end == rest.size() || rest[end] == '/' || rest[end] == '}')
            if (fs::is_regular_file(rest.substr(0, end), failure))
                return NamedArchive{rest.substr(0, end), name.size() - rest.size()};
    return std::nullopt;
}

} // namespace

RecordedName RecordName(const std::string& name, const std::string& description) {
    std::error_code failure;
    // Links to files are not resolved: their own name may be the one that matters.
    const auto place = [&failure](const fs::path& folder) {
        return fs::canonical(folder.empty() ? "." : folder, failure);
    };
    const auto whole = [&](const fs::path& file) { return place(file.parent_path()) / file.filename(); };
    if (const auto archive = IsOfGdal(name) ? FindArchive(name) : std::nullopt) {
        const std::string file = whole(archive->file).generic_string();
        std::string path = name;
        if (!failure) path.replace(archive->place, archive->file.size(), file);
        return {path, false};
    }
    if (IsOfGdal(name) || !fs::exists(name, failure)) return {name, false};
    const fs::path input = whole(name);
    if (failure || IsOfGdal(description)) return {input.string(), false};
    const fs::path folder = place(FolderOf(description));
    if (failure || !LiesIn(folder, input)) return {input.string(), false};
    return {input.lexically_relative(folder).string(), true};
}

std::string NameFromRecord(const RecordedName& name, const std::string& description) {
    return name.isRelative ? (FolderOf(description) / name.path).string() : name.path;
}

std::string GetInputRoot() {
    const char* root = std::getenv("PANSHARP_INPUT_ROOT");
    return root ? root : "";
}

bool CheckStaysIn(const std::string& root, const std::string& name, const std::string& what, Status& status) {
    const auto refuse = [&](const char* why) {
        return Fail(status, HostStatus::InputNotOpened,
                    "%s, '%s', %s '%s', the folder that PANSHARP_INPUT_ROOT confines inputs to", what.c_str(),
                    name.c_str(), why, root.c_str());
    };
    std::error_code failure;
    const fs::path folder = fs::canonical(root, failure);
    if (failure)
        return Fail(status, HostStatus::InputNotOpened,
                    "PANSHARP_INPUT_ROOT names '%s', which is not a folder; set it to one that exists",
                    root.c_str());
    const fs::path file = IsOfGdal(name) ? FindArchive(name).value_or(NamedArchive()).file : name;
    if (file.empty() || !fs::exists(file, failure))
        return refuse("is neither a file in, nor in an archive in,");
    const fs::path real = fs::canonical(file, failure);
    return (!failure && LiesIn(folder, real)) || refuse("lies outside");
}

} // namespace rasterhost
