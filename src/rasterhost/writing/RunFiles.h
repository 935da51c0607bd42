#pragma once

#include "rasterhost/requests/Requests.h"
#include "rasterhost/writing/FileMoves.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace rasterhost {

/// The files that a run reads or will write. They are compared by identity, not by name: a link to a file
/// counts as that file.
class RunFiles {
public:
    /// Adds a file with its role in the run, such as "the output", for messages.
    void Add(const std::string& file, const std::string& use);
    /// Adds a raster by its name as GDAL takes it: all files that it consists of, their own sources at every
    /// level, and the files that contain them, such as archives.
    void AddRaster(const std::string& name, const std::string& use);

    /// The role of a file in the run; empty when it has none. A file that does not exist may be one that will
    /// be written. Rasters are opened at the first question about an existing file.
    [[nodiscard]] std::string FindUse(const std::string& file);

private:
    bool Note(const std::string& file, const std::string& use);
    void Expand(const std::string& name, const std::string& use, int level);

    std::map<FileIdentity, std::string> uses;
    std::vector<std::pair<std::string, std::string>> rasters; ///< not yet opened
};

/// The files that a run reads.
[[nodiscard]] RunFiles FilesOf(const PairRequest& pair, const RunOptions& options);
/// The same, with the other files of its caller. The output is not included.
[[nodiscard]] RunFiles FilesOf(const SharpenRequest& request);

} // namespace rasterhost
