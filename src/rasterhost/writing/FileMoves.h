#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>

/// What files are, whatever their names, and how they change their names. Names of the file system only.
namespace rasterhost {

/// Tells a file from all others of this machine.
struct FileIdentity {
    std::uint64_t volume = 0;
    std::uint64_t number = 0;
    std::string name; ///< of a file that is not there, in the folder of that number; else empty

    bool operator<(const FileIdentity& other) const {
        return std::tie(volume, number, name) < std::tie(other.volume, other.number, other.name);
    }
};

/// Links are followed. A file that is not there has its place for identity; nothing when that is not there
/// either.
[[nodiscard]] std::optional<FileIdentity> Identify(const std::string& name);

/// The name behind a chain of links, which need not be there; the name itself when it is no link.
[[nodiscard]] std::string FollowLinks(const std::string& name);

enum class MoveResult { Done, NameIsTaken, Failed };

/// Gives a file a name that no file has; never takes the place of one that appears in the meantime. errno
/// tells why it failed.
[[nodiscard]] MoveResult MoveToFreeName(const std::string& from, const std::string& to);

/// Puts one file in the place of another, and the other one at `aside`, which is free. False when nothing was
/// done; errno tells why.
[[nodiscard]] bool Replace(const std::string& by, const std::string& file, const std::string& aside);

/// Gives a file the permissions of another, and its owner where that is allowed.
void TakePermissions(const std::string& from, const std::string& to);

} // namespace rasterhost
