#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>

/// The identity of files, independent of their names, and moves to other names. For names of the file system
/// only.
namespace rasterhost {

/// Identifies a file on this machine.
struct FileIdentity {
    std::uint64_t volume = 0;
    std::uint64_t number = 0;
    std::string name; ///< of a file that is not there, in the folder of that number; else empty

    bool operator<(const FileIdentity& other) const {
        return std::tie(volume, number, name) < std::tie(other.volume, other.number, other.name);
    }
};

/// Links are followed. A file that does not exist is identified by its folder and name; none when the folder
/// does not exist either.
[[nodiscard]] std::optional<FileIdentity> Identify(const std::string& name);

/// The name behind a chain of links, which need not exist; the name itself when it is not a link.
[[nodiscard]] std::string FollowLinks(const std::string& name);

enum class MoveResult { Done, NameIsTaken, Failed };

/// Gives a file a name that no file has; never replaces one that appears in the meantime. errno tells why it
/// failed.
[[nodiscard]] MoveResult MoveToFreeName(const std::string& from, const std::string& to);

/// Replaces one file by another, and moves the old one to `aside`, which is free. False when nothing was
/// done; errno tells why.
[[nodiscard]] bool Replace(const std::string& by, const std::string& file, const std::string& aside);

/// Gives a file the permissions of another, and its owner where that is allowed.
void TakePermissions(const std::string& from, const std::string& to);

} // namespace rasterhost
