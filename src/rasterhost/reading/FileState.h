#pragma once

#include <cstdint>
#include <string>

namespace rasterhost {

/// What is known of a file that GDAL can see, which need not lie in the file system.
struct FileState {
    bool exists = false;
    bool isFolder = false;
    bool isFile = false; ///< a regular one
    bool isEmpty = false;
    std::uint64_t bytes = 0; ///< of a regular one
};

[[nodiscard]] FileState LookAt(const std::string& name);

} // namespace rasterhost
