#pragma once

#include "rasterhost/requests/Requests.h"
#include "rasterhost/writing/FileMoves.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace rasterhost {

/// The files that a run reads or will write. They are compared by identity, not by name: a link to a file is
/// that file.
class RunFiles {
public:
    /// A file, and what it is to the run, such as "the output": for messages.
    void Add(const std::string& file, const std::string& use);
    /// A raster by its name as GDAL takes it: all files that it consists of, their own sources at every
    /// level, and the files that hold them, such as archives.
    void AddRaster(const std::string& name, const std::string& use);

    /// The role of the file of that name in the run; empty when it has none. A file that is not there may be
    /// one that is going to be written. Rasters are opened when that is asked of a file that is there for the
    /// first time.
    [[nodiscard]] std::string FindUse(const std::string& file);

private:
    bool Note(const std::string& file, const std::string& use);
    void Expand(const std::string& name, const std::string& use, int level);

    std::map<FileIdentity, std::string> uses;
    std::vector<std::pair<std::string, std::string>> rasters; ///< not opened yet
};

/// What a run reads.
[[nodiscard]] RunFiles FilesOf(const PairRequest& pair, const RunOptions& options);
/// The same, and what its caller reads and writes beside it. Its output is not in it.
[[nodiscard]] RunFiles FilesOf(const SharpenRequest& request);

} // namespace rasterhost
