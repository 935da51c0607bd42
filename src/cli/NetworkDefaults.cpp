#include "cli/NetworkDefaults.h"

#include <cpl_conv.h>

#include <utility>

namespace cli {

void SetNetworkDefaults() {
    constexpr std::pair<const char*, const char*> defaults[] = {
        {"GDAL_HTTP_MAX_RETRY", "4"},
        {"GDAL_HTTP_RETRY_DELAY", "0.5"}, // seconds; each further delay is more than twice as long
        {"GDAL_HTTP_CONNECTTIMEOUT", "20"},
        {"GDAL_HTTP_LOW_SPEED_TIME", "20"},        // seconds
        {"GDAL_HTTP_LOW_SPEED_LIMIT", "100"},      // bytes per second
        {"CPL_VSIL_CURL_CACHE_SIZE", "134217728"}, // archives are read through this cache alone
    };
    for (const auto& [key, value] : defaults)
        if (!CPLGetConfigOption(key, nullptr)) CPLSetConfigOption(key, value);
}

bool ShowsNetworkStatistics() { return CPLTestBool(CPLGetConfigOption("CPL_VSIL_SHOW_NETWORK_STATS", "NO")); }

} // namespace cli
