#include "rasterhost/reading/FileState.h"

#include <cpl_vsi.h>

namespace rasterhost {

FileState LookAt(const std::string& name) {
    VSIStatBufL state;
    if (VSIStatExL(name.c_str(), &state, VSI_STAT_EXISTS_FLAG | VSI_STAT_NATURE_FLAG | VSI_STAT_SIZE_FLAG) !=
        0)
        return {};
    const bool isFile = VSI_ISREG(state.st_mode) != 0;
    const std::uint64_t bytes = isFile ? static_cast<std::uint64_t>(state.st_size) : 0;
    return {true, VSI_ISDIR(state.st_mode) != 0, isFile, isFile && bytes == 0, bytes};
}

} // namespace rasterhost
