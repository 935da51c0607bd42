#pragma once

#include <cstdint>
#include <string>

namespace rasterhost {

/// What is known of a file that GDAL can access, which need not be in the file system.
struct FileState {
    bool exists = false;
    bool isFolder = false;
    bool isFile = false; ///< a regular file
    bool isEmpty = false;
    std::uint64_t bytes = 0; ///< size of a regular file
};

[[nodiscard]] FileState LookAt(const std::string& name);

} // namespace rasterhost
