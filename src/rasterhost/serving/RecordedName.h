#pragma once

#include "rasterhost/requests/HostStatus.h"

#include <string>

/// The names of inputs as a description stores them.
namespace rasterhost {

/// The name of an input in a description.
struct RecordedName {
    std::string path;
    bool isRelative = false; ///< to the description's folder
};

/// A file in the folder of the description, or below, is stored relative to it, so that both can be moved
/// together. Any other file, or the archive that contains it, is stored by its full path. A name that is not
/// a file stays unchanged.
[[nodiscard]] RecordedName RecordName(const std::string& name, const std::string& description);

/// The name in the form that GDAL takes. If `description` is a link, the file that it leads to counts.
[[nodiscard]] std::string NameFromRecord(const RecordedName& name, const std::string& description);

/// The folder that the inputs of descriptions are confined to, for servers; empty for no restriction.
[[nodiscard]] std::string GetInputRoot();

/// Checks that a name stays in a folder after links and ".." are followed. Of names that are not files, only
/// those within an archive (/vsizip/, /vsitar/, /vsigzip/) can stay in it. `what` begins the message. False
/// with an item.
[[nodiscard]] bool CheckStaysIn(const std::string& root, const std::string& name, const std::string& what,
                                Status& status);

} // namespace rasterhost
