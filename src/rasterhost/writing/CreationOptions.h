#pragma once

#include "rasterhost/requests/Requests.h"

#include <cpl_string.h>

#include <string>
#include <vector>

namespace rasterhost {

/// Creation options, each "NAME=VALUE", as GDAL takes them.
inline CPLStringList ToOptionList(const std::vector<std::string>& options) {
    CPLStringList list;
    for (const std::string& option : options)
        list.AddString(option.c_str());
    return list;
}

/// Whether the pixels are to be compressed as they are written. A format that is copied gets them as they
/// are.
inline bool WritesCompressedTiff(const OutputRequest& request) {
    const CPLStringList options = ToOptionList(request.creationOptions);
    return EQUAL(request.format.c_str(), "GTiff") &&
           !EQUAL(options.FetchNameValueDef("COMPRESS", "NONE"), "NONE");
}

} // namespace rasterhost
