#include "rasterhost/writing/FileMoves.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace rasterhost {

namespace {

/// Uses a system call that fails when the new name is taken. Some file systems do not support it.
bool RenameUnlessTaken(const char* from, const char* to) {
#ifdef RENAME_NOREPLACE
    return renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0;
#else
    errno = ENOSYS;
    return false;
#endif
}

bool IsNotOffered() {
    return errno == EINVAL || errno == ENOSYS || errno == EPERM || errno == EOPNOTSUPP || errno == EMLINK;
}

} // namespace

std::optional<FileIdentity> Identify(const std::string& name) {
    struct stat state {};
    if (stat(name.c_str(), &state) == 0) return FileIdentity{state.st_dev, state.st_ino, {}};
    const std::filesystem::path path(FollowLinks(name));
    const std::string folder = path.parent_path().empty() ? "." : path.parent_path().string();
    if (stat(folder.c_str(), &state) != 0) return std::nullopt;
    return FileIdentity{state.st_dev, state.st_ino, path.filename().string()};
}

std::string FollowLinks(const std::string& name) {
    constexpr int mostLinks = 40; // the system's own limit
    std::filesystem::path path(name);
    for (int link = 0; link < mostLinks; ++link) {
        std::error_code failure;
        const std::filesystem::path target = std::filesystem::read_symlink(path, failure);
        if (failure) return path.string();
        path = path.parent_path() / target;
    }
    return name;
}

MoveResult MoveToFreeName(const std::string& from, const std::string& to) {
    if (RenameUnlessTaken(from.c_str(), to.c_str())) return MoveResult::Done;
    if (errno == EEXIST) return MoveResult::NameIsTaken;
    if (!IsNotOffered()) return MoveResult::Failed;
    if (link(from.c_str(), to.c_str()) == 0)
        return unlink(from.c_str()) == 0 ? MoveResult::Done : MoveResult::Failed;
    if (errno == EEXIST) return MoveResult::NameIsTaken;
    if (!IsNotOffered()) return MoveResult::Failed;
    // Otherwise an empty file holds the name until it is replaced.
    const int holder = open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (holder < 0) return errno == EEXIST ? MoveResult::NameIsTaken : MoveResult::Failed;
    close(holder);
    if (rename(from.c_str(), to.c_str()) == 0) return MoveResult::Done;
    const int reason = errno;
    unlink(to.c_str());
    errno = reason;
    return MoveResult::Failed;
}

bool Replace(const std::string& by, const std::string& file, const std::string& aside) {
#ifdef RENAME_EXCHANGE
    if (renameat2(AT_FDCWD, by.c_str(), AT_FDCWD, file.c_str(), RENAME_EXCHANGE) == 0) {
        if (rename(by.c_str(), aside.c_str()) == 0) return true;
        const int reason = errno;
        if (renameat2(AT_FDCWD, by.c_str(), AT_FDCWD, file.c_str(), RENAME_EXCHANGE) == 0) errno = reason;
        return false;
    }
    if (!IsNotOffered()) return false;
#endif
    if (rename(file.c_str(), aside.c_str()) != 0) return false;
    if (rename(by.c_str(), file.c_str()) == 0) return true;
    const int reason = errno;
    if (rename(aside.c_str(), file.c_str()) == 0) errno = reason;
    return false;
}

void TakePermissions(const std::string& from, const std::string& to) {
    struct stat state {};
    if (stat(from.c_str(), &state) != 0) return;
    // If the group cannot be kept, no other group gets its permissions.
    const bool isSameGroup = chown(to.c_str(), static_cast<uid_t>(-1), state.st_gid) == 0;
    const bool isSameOwner = chown(to.c_str(), state.st_uid, static_cast<gid_t>(-1)) == 0;
    (void)isSameOwner; // only root may give files away
    constexpr mode_t permissions = 0777, ofGroup = 0070;
    chmod(to.c_str(), state.st_mode & (isSameGroup ? permissions : permissions & ~ofGroup));
}

} // namespace rasterhost
