#include "rasterhost/requests/Operation.h"

#include "rasterhost/requests/GdalErrors.h"

#include <gdal_priv.h>

#include <chrono>
#include <exception>
#include <mutex>
#include <new>
#include <stdexcept>

namespace rasterhost {

namespace {

/// Otherwise GDAL's message about an invalid GDAL_CACHEMAX would be taken for the failure of the first read.
void LookAtCacheSize() {
    const GdalErrors silence;
    GDALGetCacheMax64();
}

bool FailForMemory(Status& status) {
    return Fail(status, HostStatus::Unexpected,
                "there is not enough memory: use fewer --threads or a smaller --window, or cut the inputs "
                "with gdal_translate -projwin. If the blocks of a file are very large, write it again with "
                "gdal_translate -co TILED=YES");
}

} // namespace

void RegisterDrivers() {
    static std::mutex mutex; // a second caller finds all drivers registered
    const std::scoped_lock lock(mutex);
    if (GetGDALDriverManager()->GetDriverCount() == 0) GDALAllRegister();
}

bool Guard(const std::function<bool()>& operation, Status& status) {
    try {
        return operation();
    } catch (const std::bad_alloc&) {
        return FailForMemory(status);
    } catch (const std::length_error&) {
        return FailForMemory(status);
    } catch (const std::exception& error) {
        return Fail(status, HostStatus::Unexpected, "unexpected: %s", error.what());
    }
}

bool RunOperation(const std::function<bool()>& operation, double& seconds, Status& status) {
    const auto start = std::chrono::steady_clock::now();
    const bool isDone = Guard(
        [&] {
            RegisterDrivers();
            const GdalErrors silence; // on this thread; every failure becomes an item
            LookAtCacheSize();
            return operation();
        },
        status);
    seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return isDone;
}

} // namespace rasterhost
