#pragma once

#include <cpl_conv.h>
#include <gdal.h>

#include <cstdint>

namespace rasterhost {

/// GDAL's block cache takes a share of the whole memory unless it is told otherwise; a scene that is read and
/// written once, window by window, needs little. Holds the cache to so many bytes for as long as it lives.
class CacheLimit {
public:
    explicit CacheLimit(std::int64_t bytes) : before(GDALGetCacheMax64()) {
        if (!CPLGetConfigOption("GDAL_CACHEMAX", nullptr)) GDALSetCacheMax64(bytes);
    }
    CacheLimit(const CacheLimit&) = delete;
    CacheLimit& operator=(const CacheLimit&) = delete;
    ~CacheLimit() { GDALSetCacheMax64(before); }

private:
    GIntBig before;
};

} // namespace rasterhost
