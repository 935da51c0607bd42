#pragma once

#include <cpl_conv.h>
#include <gdal.h>

#include <algorithm>
#include <cstdint>
#include <mutex>

namespace rasterhost {

/// Limits GDAL's block cache to this many bytes while it lives. By default the cache takes a share of the
/// whole memory, but a scene that is read and written once, window by window, needs little. If several limits
/// live at once, the largest size applies; the last to end restores the size from before the first.
class CacheLimit {
public:
    explicit CacheLimit(std::int64_t bytes) {
        if (CPLGetConfigOption("GDAL_CACHEMAX", nullptr)) return;
        const std::lock_guard lock(shared.mutex);
        if (shared.count++ == 0) {
            shared.before = GDALGetCacheMax64();
            shared.largest = bytes;
        }
        shared.largest = std::max(shared.largest, bytes);
        GDALSetCacheMax64(shared.largest);
        isSet = true;
    }
    CacheLimit(const CacheLimit&) = delete;
    CacheLimit& operator=(const CacheLimit&) = delete;
    ~CacheLimit() {
        if (!isSet) return;
        const std::lock_guard lock(shared.mutex);
        if (--shared.count == 0) GDALSetCacheMax64(shared.before);
    }

private:
    struct Shared {
        std::mutex mutex;
        int count;
        std::int64_t before, largest;
    };
    static inline Shared shared{};
    bool isSet = false;
};

} // namespace rasterhost
