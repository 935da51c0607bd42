#include "cli/NetworkDefaults.h"

#include <cpl_conv.h>

#include <utility>

namespace cli {

void SetNetworkDefaults(bool readsAhead) {
    constexpr std::pair<const char*, const char*> defaults[] = {
        {"GDAL_HTTP_MAX_RETRY", "4"},
        {"GDAL_HTTP_RETRY_DELAY", "0.5"}, // seconds; each further one is more than twice as long
        {"GDAL_HTTP_CONNECTTIMEOUT", "20"},
        {"GDAL_HTTP_LOW_SPEED_TIME", "20"},   // seconds
        {"GDAL_HTTP_LOW_SPEED_LIMIT", "100"}, // bytes a second
        {"CPL_VSIL_CURL_CACHE_SIZE", "134217728"},
    };
    const auto set = [](const char* key, const char* value) {
        if (!CPLGetConfigOption(key, nullptr)) CPLSetConfigOption(key, value);
    };
    for (const auto& [key, value] : defaults)
        set(key, value);
    if (readsAhead) set("GDAL_HTTP_MULTIRANGE", "SERIAL"); // other ways pass by what is kept
}

} // namespace cli
