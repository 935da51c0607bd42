#include "rasterhost/writing/WorkFolder.h"

#include "fundament/Text.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/reading/NetworkFile.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/requests/HostProcess.h"
#include "rasterhost/writing/FileMoves.h"

#include <cpl_conv.h>
#include <cpl_vsi.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <functional>
#include <system_error>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StartsWith;

namespace {

namespace fs = std::filesystem;

constexpr const char* newFiles = "new";     // to be delivered
constexpr const char* spareFiles = "spare"; // not delivered
constexpr const char* oldFiles = "old";     // replaced

std::string ReasonOf(int error) { return std::generic_category().message(error); }

/// Removes folders whose name begins like this and continues with the number of a process that has ended.
void RemoveLeftovers(const fs::path& parent, const std::string& start) {
    std::error_code failure;
    fs::directory_iterator entries(parent.empty() ? "." : parent, failure);
    for (; !failure && entries != fs::directory_iterator(); entries.increment(failure)) {
        const std::string name = entries->path().filename().string();
        if (!StartsWith(name, start, false) || !name.ends_with(".tmp")) continue;
        int process = 0;
        const auto number = std::from_chars(name.data() + start.size(), name.data() + name.size(), process);
        std::error_code ignored;
        if (number.ec == std::errc() && process > 0 && !IsRunning(process) &&
            entries->symlink_status(ignored).type() == fs::file_type::directory)
            fs::remove_all(entries->path(), ignored);
    }
}

std::vector<std::string> ListNames(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code failure;
    for (fs::directory_iterator entries(folder, failure); !failure && entries != fs::directory_iterator();
         entries.increment(failure))
        names.push_back(entries->path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

bool FailTaken(const std::string& name, Status& status) {
    return Fail(status, HostStatus::OutputNotWritten,
                "'%s' has appeared in the meantime and was left as it is; choose another name, or allow it "
                "to be overwritten (--overwrite)",
                name.c_str());
}

bool FailUnknown(const std::string& name, const std::string& reason, Status& status) {
    return Fail(status, HostStatus::OutputNotWritten,
                "the storage does not say whether '%s' exists, so it was left as it is; try again later: %s",
                name.c_str(), reason.c_str());
}

using File = std::unique_ptr<VSILFILE, decltype(&VSIFCloseL)>;

/// Reads a file block by block. `take` gets the number of bytes in the block. False when the file cannot be
/// read completely, or when `take` returns false.
bool ReadBlocks(const std::string& name, std::vector<char>& block,
                const std::function<bool(std::size_t)>& take) {
    const File file(VSIFOpenL(name.c_str(), "rb"), &VSIFCloseL);
    const std::uint64_t bytes = LookAt(name).bytes;
    std::uint64_t done = 0;
    while (file && done < bytes) {
        const std::size_t count = VSIFReadL(block.data(), 1, block.size(), file.get());
        if (count == 0 || !take(count)) return false;
        done += count;
    }
    return file && done == bytes;
}

/// Sends a file to object storage. False with an item; if there was no object before, there is none then.
bool Send(const std::string& from, const std::string& to, bool isThere, Status& status) {
    constexpr std::size_t blockBytes = std::size_t{4} << 20;
    // GDAL sends an opened object when it is closed, complete or not: so memory and file are checked first.
    std::vector<char> block(blockBytes);
    const GdalErrors errors;
    const bool isReadable = ReadBlocks(from, block, [](std::size_t) { return true; });
    File target(isReadable ? VSIFOpenL(to.c_str(), "wb") : nullptr, &VSIFCloseL);
    const bool isOpen = target != nullptr;
    bool isSent = isOpen;
    const bool isRead = isOpen && ReadBlocks(from, block, [&](std::size_t count) {
                            return isSent = VSIFWriteL(block.data(), 1, count, target.get()) == count;
                        });
    isSent = isOpen && VSIFCloseL(target.release()) == 0 && isSent; // closing sends most of it
    if (isRead && isSent && !errors.HasFailed()) return true;
    const std::string reason = errors.Reason();
    // An object that could not be seen before is not removed now.
    if (std::string fault; isOpen && !isThere && LookAnew(to, fault).exists) VSIUnlink(to.c_str());
    if (!isReadable || (isSent && !isRead))
        return Fail(status, HostStatus::OutputNotWritten,
                    "the finished file '%s' cannot be read to be sent to '%s'; check the disk of the folder "
                    "for temporary files, or set TMPDIR to another folder%s",
                    from.c_str(), to.c_str(), reason.c_str());
    return Fail(status, HostStatus::OutputNotWritten,
                "the finished file cannot be sent to '%s'; check that you may write there and that GDAL's "
                "keys for it are set%s",
                to.c_str(), reason.c_str());
}

/// Moves of files. The destructor undoes them unless they are kept.
class Moves {
public:
    Moves() = default;
    Moves(const Moves&) = delete;
    Moves& operator=(const Moves&) = delete;
    ~Moves() {
        for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
            std::error_code ignored;
            fs::rename(step->to, step->from, ignored);
        }
    }

    /// False with an item.
    [[nodiscard]] bool Add(const std::string& from, const std::string& to, const std::string& aside,
                           bool overwrite, Status& status) {
        MoveResult done = MoveToFreeName(from, to);
        if (done == MoveResult::NameIsTaken && overwrite) {
            if (!LookAt(to).isFile)
                return Fail(status, HostStatus::OutputNotWritten,
                            "'%s' is not a file that can be replaced; choose another name", to.c_str());
            TakePermissions(to, from);
            done = Replace(from, to, aside) ? MoveResult::Done : MoveResult::Failed;
            if (done == MoveResult::Done) steps.push_back({to, aside});
        }
        if (done == MoveResult::Done) {
            steps.push_back({from, to});
            return true;
        }
        const std::string reason = ReasonOf(errno);
        return done == MoveResult::NameIsTaken
                   ? FailTaken(to, status)
                   : Fail(status, HostStatus::OutputNotWritten,
                          "the finished file '%s' cannot be moved to its name: %s", to.c_str(),
                          reason.c_str());
    }
    void Keep() { steps.clear(); }

private:
    struct Step {
        std::string from, to;
    };
    std::vector<Step> steps;
};

} // namespace

std::vector<std::string> NamesOfDescriptions(const std::string& name) {
    return {name + ".aux.xml", name + ".ovr", name + ".msk"};
}

std::string FolderToWorkIn(const std::string& finalName) {
    if (!IsOnObjectStorage(finalName)) return fs::path(FollowLinks(finalName)).parent_path().string();
    return CPLGetConfigOption("CPL_TMPDIR", CPLGetConfigOption("TMPDIR", CPLGetConfigOption("TEMP", "/tmp")));
}

WorkFolder::WorkFolder(const std::string& finalName)
    : place(StartsWith(finalName, "/vsi", false) ? finalName : FollowLinks(finalName)) {}

std::unique_ptr<WorkFolder> WorkFolder::Make(const std::string& finalName, Status& status) {
    std::unique_ptr<WorkFolder> made(new WorkFolder(finalName));
    made->file = made->place;
    const bool hasFolder = !StartsWith(finalName, "/vsi", false) || IsOnObjectStorage(finalName);
    return !hasFolder || made->MakeFolders(status) ? std::move(made) : nullptr;
}

bool WorkFolder::MakeFolders(Status& status) {
    const fs::path path(place);
    constexpr std::size_t mostLetters = 64; // keeps the name short enough
    const std::string start =
        "." + path.stem().string().substr(0, mostLetters) + ".pansharp-" + HostName() + "-";
    const fs::path parent = FolderToWorkIn(place);
    RemoveLeftovers(parent, start);
    std::error_code failure;
    for (unsigned number = 0;; ++number) {
        const fs::path free = parent / (start + FormatString("%d-%u.tmp", OwnProcess(), number));
        if (!fs::create_directory(free, failure) && !failure) continue; // another run of this process has it
        if (!failure) folder = free.string();
        if (!failure && IsOnObjectStorage(place)) // the folder for temporary files is public
            fs::permissions(free, fs::perms::owner_all, failure);
        break;
    }
    for (const char* name : {newFiles, spareFiles, oldFiles})
        if (!failure) fs::create_directory(fs::path(folder) / name, failure);
    file = GetFile(path.filename().string());
    if (!failure) fs::create_directory(file, failure); // checks that such a name is possible
    std::error_code ignored;
    fs::remove(file, ignored);
    return !failure || Fail(status, HostStatus::OutputNotCreated,
                            "'%s' cannot be created; is the folder '%s' writable?: %s", place.c_str(),
                            parent.empty() ? "." : parent.string().c_str(), failure.message().c_str());
}

WorkFolder::~WorkFolder() {
    const GdalErrors errors;
    if (!folder.empty()) {
        try {
            std::error_code ignored;
            fs::remove_all(folder, ignored);
        } catch (const std::bad_alloc&) {
            return; // the next run will remove it
        }
    } else if (!isDelivered && StartsWith(place, "/vsi", false)) {
        VSIUnlink(place.c_str());
    }
}

std::string WorkFolder::GetFile(const std::string& name) const {
    return (fs::path(folder) / newFiles / name).string();
}

std::string WorkFolder::GetSpare(const std::string& name) const {
    return folder.empty() ? place + "." + name : (fs::path(folder) / spareFiles / name).string();
}

void WorkFolder::ClearSpare() {
    for (const std::string& name : ListSpare()) {
        std::error_code ignored;
        fs::remove_all(GetSpare(name), ignored);
    }
}

std::vector<std::string> WorkFolder::ListSpare() const {
    return folder.empty() ? std::vector<std::string>() : ListNames(fs::path(folder) / spareFiles);
}

std::string WorkFolder::GetPlace(const std::string& name) const {
    return (fs::path(place).parent_path() / name).string();
}

bool WorkFolder::SendAll(const std::vector<std::string>& names, const std::vector<std::string>& stale,
                         bool overwrite, Status& status) const {
    std::vector<std::string> made;
    for (const std::string& name : names) {
        const std::string to = GetPlace(name);
        std::string fault;
        const bool isThere = LookAnew(to, fault).exists;
        const bool isFree = !fault.empty()          ? FailUnknown(to, fault, status)
                            : isThere && !overwrite ? FailTaken(to, status)
                                                    : true;
        if (isFree && Send(GetFile(name), to, isThere, status)) {
            if (!isThere) made.push_back(to);
            continue;
        }
        for (const std::string& each : made)
            VSIUnlink(each.c_str());
        return false;
    }
    for (const std::string& name : stale) {
        const std::string beside = GetPlace(name);
        const GdalErrors errors;
        std::string fault;
        if (VSIUnlink(beside.c_str()) != 0 && (LookAnew(beside, fault).exists || !fault.empty()))
            return Fail(status, HostStatus::OutputNotWritten,
                        "the output '%s' was replaced, but '%s', which describes the old one, cannot be "
                        "removed; remove it%s",
                        place.c_str(), beside.c_str(), errors.Reason().c_str());
    }
    return true;
}

bool WorkFolder::Deliver(bool overwrite, Status& status) {
    if (folder.empty()) return isDelivered = true;
    const std::string mainName = fs::path(place).filename().string();
    std::vector<std::string> names = ListNames(fs::path(folder) / newFiles);
    std::stable_partition(names.begin(), names.end(),
                          [&mainName](const std::string& name) { return name != mainName; });
    const auto aside = [this](const std::string& name) {
        return (fs::path(folder) / oldFiles / name).string();
    };
    std::vector<std::string> stale; // files that describe what is replaced
    for (const std::string& described : NamesOfDescriptions(mainName)) {
        const std::string beside = GetPlace(described);
        if (std::find(names.begin(), names.end(), described) != names.end()) continue;
        std::string fault;
        const bool isThere = LookAnew(beside, fault).exists;
        if (!fault.empty()) return FailUnknown(beside, fault, status);
        if (!isThere) continue;
        if (!overwrite)
            return Fail(status, HostStatus::OutputNotWritten,
                        "'%s' exists and would describe the output '%s'; remove it, choose "
                        "another name, or allow it to be overwritten (--overwrite)",
                        beside.c_str(), place.c_str());
        stale.push_back(described);
    }
    if (IsOnObjectStorage(place)) return isDelivered = SendAll(names, stale, overwrite, status);
    Moves moves;
    for (const std::string& name : stale)
        if (!moves.Add(GetPlace(name), aside(name), {}, false, status)) return false;
    for (const std::string& name : names)
        if (!moves.Add(GetFile(name), GetPlace(name), aside(name), overwrite, status)) return false;
    moves.Keep();
    return isDelivered = true;
}

} // namespace rasterhost
