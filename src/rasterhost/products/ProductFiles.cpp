#include "rasterhost/products/ProductFiles.h"

#include "fundament/Text.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/reading/NetworkFile.h"
#include "rasterhost/requests/GdalErrors.h"

#include <cpl_string.h>
#include <cpl_vsi.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <system_error>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StartsWith;
using KOVA::Tessara::Fundament::ToLower;

namespace {

constexpr int mostFolderLevels = 4;
constexpr std::size_t mostEntries = 20000;
constexpr std::size_t mostArchiveFolders = 500; // listing each one scans the whole archive
constexpr std::size_t mostMetadataFiles = 1000;
constexpr std::size_t mostMetadataBytes = std::size_t{16} << 20;

constexpr const char* tarEndings[] = {".tar", ".tar.gz", ".tgz"};
constexpr const char* rasterEndings[] = {".tif", ".tiff", ".jp2", ".j2k", ".img", ".vrt", ".til", ".ntf"};

template <std::size_t N>
bool EndsInOne(const std::string& name, const char* const (&endings)[N]) {
    const std::string small = ToLower(name);
    return std::any_of(std::begin(endings), std::end(endings),
                       [&](const char* ending) { return small.ends_with(ending); });
}

/// True for an absolute name, or one with ".." among its parts.
bool ClimbsOut(const std::string& name) {
    const std::filesystem::path path(name);
    return path.is_absolute() || std::find(path.begin(), path.end(), "..") != path.end();
}

/// True for the companion files that macOS creates on other disks and in archives: they have the file's name
/// but not its contents.
bool IsOfMacOs(const std::string& name) { return LastPart(name).starts_with("._"); }

/// Whether a file can be read up to its last byte.
bool HasLastByte(const std::string& path, std::uint64_t bytes) {
    if (bytes == 0) return true;
    const std::unique_ptr<VSILFILE, decltype(&VSIFCloseL)> file(VSIFOpenL(path.c_str(), "rb"), &VSIFCloseL);
    char last = 0;
    return file && VSIFSeekL(file.get(), bytes - 1, SEEK_SET) == 0 && VSIFReadL(&last, 1, 1, file.get()) == 1;
}

/// ": " and why the system does not let a folder or file be read; empty for what it does not know.
std::string WhyNotRead(const std::string& name) {
    if (StartsWith(name, "/vsi", false)) return {};
    std::error_code fault;
    const std::filesystem::directory_iterator listed(name, fault);
    if (fault == std::errc::not_a_directory) {
        errno = 0;
        std::FILE* file = std::fopen(name.c_str(), "rb");
        fault = {file ? 0 : errno, std::generic_category()};
        if (file) (void)std::fclose(file);
    }
    return fault ? ": " + fault.message() : std::string();
}

} // namespace

bool IsArchive(const std::string& name) {
    return EndsInOne(name, tarEndings) || ToLower(name).ends_with(".zip");
}

bool IsRasterName(const std::string& name) { return EndsInOne(name, rasterEndings); }

std::string FolderPart(const std::string& name) {
    const std::size_t slash = name.rfind('/');
    return slash == std::string::npos ? std::string() : name.substr(0, slash + 1);
}

std::string LastPart(const std::string& name) { return name.substr(FolderPart(name).size()); }

std::string StemPart(const std::string& name) {
    const std::string last = LastPart(name);
    return last.substr(0, last.rfind('.'));
}

bool ProductFiles::List(const std::string& folderOrArchive, Status& status) {
    isArchive = IsArchive(folderOrArchive) && !LookAt(folderOrArchive).isFolder;
    root = folderOrArchive;
    while (root.size() > 1 && root.ends_with('/'))
        root.pop_back();
    if (isArchive) root = (ToLower(root).ends_with(".zip") ? "/vsizip/" : "/vsitar/") + root;
    names.clear();
    anyCase.clear();
    filesRead = 0;
    const GdalErrors errors;
    const std::unique_ptr<VSIDIR, decltype(&VSICloseDir)> folder(
        VSIOpenDir(root.c_str(), mostFolderLevels, nullptr), &VSICloseDir);
    const auto failToRead = [&](const std::string& why) {
        const std::string reason = WhyNotRead(folderOrArchive);
        return Fail(status, HostStatus::InputNotOpened, "%s '%s' cannot be read%s",
                    isArchive ? "the archive" : "the folder", folderOrArchive.c_str(),
                    reason.empty() ? why.c_str() : reason.c_str());
    };
    const std::string notWhole =
        std::string(IsOnNetwork(folderOrArchive) ? "; did the server or the connection fail, or " : "; ") +
        "was it copied or downloaded to its end?";
    if (!folder) return failToRead((isArchive ? notWhole : "") + errors.Reason());
    const auto refuse = [&](const std::string& why) {
        return Fail(status, HostStatus::InputNotSupported, "'%s' has %s", folderOrArchive.c_str(),
                    why.c_str());
    };
    std::size_t entries = 0, archiveFolders = 0;
    std::pair<std::string, std::uint64_t> last;
    while (const VSIDIREntry* entry = VSIGetNextDirEntry(folder.get())) {
        if (++entries > mostEntries)
            return refuse(
                FormatString("more than %zu files and folders; name the folder of one product", mostEntries));
        archiveFolders += isArchive && VSI_ISDIR(entry->nMode);
        if (archiveFolders > mostArchiveFolders)
            return refuse(FormatString("more than %zu folders; unpack it, and name the folder of one product",
                                       mostArchiveFolders));
        const std::string name(entry->pszName);
        if (ClimbsOut(name)) continue; // outside the archive
        if (VSI_ISREG(entry->nMode)) last = {name, entry->nSize};
        // Opening a pipe or a device may block forever.
        if (VSI_ISREG(entry->nMode) && !IsOfMacOs(name)) names.push_back(name);
    }
    // GDAL lists a tar up to where it ends.
    if (StartsWith(root, "/vsitar/", false) && !HasLastByte(PathOf(last.first), last.second))
        return failToRead(" beyond the beginning of '" + last.first + "'" + notWhole + errors.Reason());
    std::sort(names.begin(), names.end());
    if (!StartsWith(root, "/vsi", false)) DropRepeated();
    for (const std::string& name : names)
        anyCase.emplace(ToLower(name), name);
    return true;
}

void ProductFiles::TakeOne(const std::string& folder, const std::string& name) {
    *this = {};
    root = folder;
    while (root.size() > 1 && root.ends_with('/'))
        root.pop_back();
    isListed = false;
    names = {name};
    anyCase = {{ToLower(name), name}};
}

/// Links may lead to folders that are already listed; the shortest path is kept.
void ProductFiles::DropRepeated() {
    std::map<std::string, std::string> places, shortest;
    for (const std::string& name : names) {
        const std::string folder = FolderPart(name);
        if (places.contains(folder)) continue;
        std::error_code failure;
        const std::string place = std::filesystem::canonical(PathOf(folder), failure).string();
        places[folder] = failure ? folder : place;
        std::string& path = shortest.emplace(places[folder], folder).first->second;
        if (folder.size() < path.size()) path = folder;
    }
    std::erase_if(names, [&](const std::string& name) {
        const std::string folder = FolderPart(name);
        return shortest[places[folder]] != folder;
    });
}

std::optional<std::string> ProductFiles::FindBeside(const std::string& name, const std::string& other) const {
    const std::string relative = StartsWith(other, "./", false) ? other.substr(2) : other;
    if (relative.empty() || ClimbsOut(relative)) return std::nullopt;
    const std::string wanted = FolderPart(name) + relative;
    if (std::binary_search(names.begin(), names.end(), wanted)) return wanted;
    if (!isListed) return LookAt(PathOf(wanted)).isFile ? std::optional(wanted) : std::nullopt;
    const auto found = anyCase.find(ToLower(wanted));
    return found == anyCase.end() ? std::nullopt : std::optional(found->second);
}

std::optional<Metadata> ProductFiles::Read(const std::string& name, std::string& fault) const {
    if (name == wantedName || ++filesRead <= mostMetadataFiles) return ReadFile(PathOf(name), fault);
    fault = "too many metadata files lie beside it";
    return std::nullopt;
}

bool ProductFiles::HasTooMuchMetadata() const { return filesRead > mostMetadataFiles; }

std::optional<Metadata> ProductFiles::ReadFile(const std::string& path, std::string& fault) {
    const GdalErrors silence;
    const std::unique_ptr<VSILFILE, decltype(&VSIFCloseL)> file(VSIFOpenL(path.c_str(), "rb"), &VSIFCloseL);
    std::string text;
    std::string block(std::size_t{64} << 10, '\0');
    while (file && text.size() <= mostMetadataBytes) {
        const std::size_t count = VSIFReadL(block.data(), 1, block.size(), file.get());
        text.append(block, 0, count);
        if (count < block.size()) break;
    }
    fault = !file ? "it cannot be read" : text.size() > mostMetadataBytes ? "it is larger than 16 MB" : "";
    return fault.empty() ? ParseMetadata(text, fault) : std::nullopt;
}

} // namespace rasterhost
