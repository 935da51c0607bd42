#include "rasterhost/writing/WorkFolder.h"

#include "fundament/Text.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/requests/HostProcess.h"
#include "rasterhost/writing/FileMoves.h"

#include <cpl_vsi.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <system_error>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StartsWith;

namespace {

namespace fs = std::filesystem;

constexpr const char* newFiles = "new";     // to be delivered
constexpr const char* spareFiles = "spare"; // not to be
constexpr const char* oldFiles = "old";     // that were replaced

std::string ReasonOf(int error) { return std::generic_category().message(error); }

/// Removes folders of a name that begins so and goes on with the number of a process that has ended.
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

/// Moves that are undone with it unless they are kept.
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
        return Fail(
            status, HostStatus::OutputNotWritten,
            done == MoveResult::NameIsTaken
                ? FormatString(
                      "'%s' has appeared in the meantime and was left as it is; choose another name, or "
                      "allow it to be overwritten (--overwrite)",
                      to.c_str())
                : FormatString("the finished file '%s' cannot be moved to its name: %s", to.c_str(),
                               reason.c_str()));
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

WorkFolder::WorkFolder(const std::string& finalName)
    : place(StartsWith(finalName, "/vsi", false) ? finalName : FollowLinks(finalName)) {}

std::unique_ptr<WorkFolder> WorkFolder::Make(const std::string& finalName, Status& status) {
    std::unique_ptr<WorkFolder> made(new WorkFolder(finalName));
    made->file = made->place;
    return StartsWith(finalName, "/vsi", false) || made->MakeFolders(status) ? std::move(made) : nullptr;
}

bool WorkFolder::MakeFolders(Status& status) {
    const fs::path path(place);
    constexpr std::size_t mostLetters = 64; // so that no name gets too long
    const std::string start =
        "." + path.stem().string().substr(0, mostLetters) + ".pansharp-" + HostName() + "-";
    RemoveLeftovers(path.parent_path(), start);
    std::error_code failure;
    for (unsigned number = 0;; ++number) {
        const fs::path free = path.parent_path() / (start + FormatString("%d-%u.tmp", OwnProcess(), number));
        if (!fs::create_directory(free, failure) && !failure) continue; // another run of this process has it
        if (!failure) folder = free.string();
        break;
    }
    for (const char* name : {newFiles, spareFiles, oldFiles})
        if (!failure) fs::create_directory(fs::path(folder) / name, failure);
    file = GetFile(path.filename().string());
    if (!failure) fs::create_directory(file, failure); // whether there may be such a name
    std::error_code ignored;
    fs::remove(file, ignored);
    return !failure ||
           Fail(status, HostStatus::OutputNotCreated, "'%s' cannot be created; is its folder writable?: %s",
                place.c_str(), failure.message().c_str());
}

WorkFolder::~WorkFolder() {
    const GdalErrors errors;
    std::error_code ignored;
    if (!folder.empty())
        fs::remove_all(folder, ignored);
    else if (!isDelivered && StartsWith(place, "/vsi", false))
        VSIUnlink(place.c_str());
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

bool WorkFolder::Deliver(bool overwrite, Status& status) {
    if (folder.empty()) return isDelivered = true;
    const std::string mainName = fs::path(place).filename().string();
    std::vector<std::string> names = ListNames(fs::path(folder) / newFiles);
    std::stable_partition(names.begin(), names.end(),
                          [&mainName](const std::string& name) { return name != mainName; });
    const auto aside = [this](const std::string& name) {
        return (fs::path(folder) / oldFiles / name).string();
    };
    Moves moves;
    for (const std::string& described : NamesOfDescriptions(mainName)) {
        const std::string beside = GetPlace(described);
        if (std::find(names.begin(), names.end(), described) != names.end() || !LookAt(beside).exists)
            continue;
        if (!overwrite)
            return Fail(status, HostStatus::OutputNotWritten,
                        "'%s' is there and would describe the output '%s'; remove it, choose "
                        "another name, or allow it to be overwritten (--overwrite)",
                        beside.c_str(), place.c_str());
        if (!moves.Add(beside, aside(described), {}, false, status)) return false;
    }
    for (const std::string& name : names)
        if (!moves.Add(GetFile(name), GetPlace(name), aside(name), overwrite, status)) return false;
    moves.Keep();
    return isDelivered = true;
}

} // namespace rasterhost
