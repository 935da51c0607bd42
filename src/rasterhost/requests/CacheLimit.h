#pragma once

#include <cpl_conv.h>
#include <gdal.h>

#include <algorithm>
#include <cstdint>
#include <mutex>

namespace rasterhost {

/// GDAL's block cache takes a share of the whole memory unless it is told otherwise; a scene that is read and
/// written once, window by window, needs little. Limits the cache to this many bytes for as long as it lives.
/// Where several live at once, the largest of their sizes holds, and the last to end gives back what was
/// there before the first.
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
