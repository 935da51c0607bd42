#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>

/// The identity of files, independent of their names, and renaming. Only for names of the file system.
namespace rasterhost {

/// Identifies a file on this machine.
struct FileIdentity {
    std::uint64_t volume = 0;
    std::uint64_t number = 0;
    std::string name; ///< of a missing file, within the folder identified by the number; else empty

    bool operator<(const FileIdentity& other) const {
        return std::tie(volume, number, name) < std::tie(other.volume, other.number, other.name);
    }
};

/// Follows links. A file that does not exist is identified by its folder and name. Empty when the folder does
/// not exist either.
[[nodiscard]] std::optional<FileIdentity> Identify(const std::string& name);

/// The name at the end of a chain of links, which need not exist; the name itself when it is not a link.
[[nodiscard]] std::string FollowLinks(const std::string& name);

enum class MoveResult { Done, NameIsTaken, Failed };

/// Renames a file to a name that no file has. Never replaces a file that appears in the meantime. On failure
/// errno has the reason.
[[nodiscard]] MoveResult MoveToFreeName(const std::string& from, const std::string& to);

/// Replaces a file by another, and renames the old one to `aside`, which is free. False when nothing was
/// changed; errno has the reason.
[[nodiscard]] bool Replace(const std::string& by, const std::string& file, const std::string& aside);

/// Gives a file the permissions of another, and its owner if that is allowed.
void TakePermissions(const std::string& from, const std::string& to);

} // namespace rasterhost
