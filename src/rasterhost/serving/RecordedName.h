#pragma once

#include "rasterhost/requests/HostStatus.h"

#include <string>

/// The names of inputs, as a description holds them.
namespace rasterhost {

/// The name of an input in a description.
struct RecordedName {
    std::string path;
    bool isRelative = false; ///< to the description's folder
};

/// A file in the folder of the description or below goes by its way from there, so that the two can be moved
/// together; another one, or the archive that a name lies within, by its full path. What is not a file stays
/// as it is.
[[nodiscard]] RecordedName RecordName(const std::string& name, const std::string& description);

/// The name as GDAL takes it. `description` may be a link: the file that it leads to counts.
[[nodiscard]] std::string NameFromRecord(const RecordedName& name, const std::string& description);

/// The folder that inputs of descriptions are confined to, for servers; empty for no such folder.
[[nodiscard]] std::string GetInputRoot();

/// False with an item when the name does not stay in a folder once links and ".." are followed. Of names that
/// are not files, those within an archive (/vsizip/, /vsitar/, /vsigzip/) may stay in it. `what` begins the
/// message.
[[nodiscard]] bool CheckStaysIn(const std::string& root, const std::string& name, const std::string& what,
                                Status& status);

} // namespace rasterhost
