#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <vector>

// GDAL's library for GeoTIFF keys allocates a table of 256 KB for every file that it opens. AddressSanitizer
// maps each one, fills it page by page and unmaps it, which takes a third of the time of an input. Here these
// tables are reused; smaller blocks, and those of all other code, are left to AddressSanitizer.
namespace fuzz {

struct GeoTiffTables {
    static constexpr std::size_t size = 65536 * sizeof(int);
    std::mutex mutex;
    std::vector<void*> all, unused;
};

inline GeoTiffTables& Tables() {
    static auto& tables = *new GeoTiffTables; // files may be closed after the end of main
    return tables;
}

} // namespace fuzz

extern "C" {
[[gnu::visibility("default"), gnu::used]] inline void* TakeGeoTiffBlock(std::size_t) __asm__("_GTIFcalloc");
[[gnu::visibility("default"), gnu::used]] inline void GiveGeoTiffBlock(void*) __asm__("_GTIFFree");
}

inline void* TakeGeoTiffBlock(std::size_t size) {
    auto& tables = fuzz::Tables();
    if (size != fuzz::GeoTiffTables::size) return std::calloc(1, size);
    const std::lock_guard lock(tables.mutex);
    if (tables.unused.empty()) {
        tables.all.push_back(std::calloc(1, size));
        return tables.all.back();
    }
    void* const table = tables.unused.back();
    tables.unused.pop_back();
    return std::memset(table, 0, size);
}

inline void GiveGeoTiffBlock(void* block) {
    auto& tables = fuzz::Tables();
    const std::lock_guard lock(tables.mutex);
    for (void* const table : tables.all)
        if (table == block) return tables.unused.push_back(block);
    std::free(block);
}
