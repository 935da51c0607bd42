#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>

namespace view {

/// Encoded tiles by request, within a number of bytes; the tile unused for longest is dropped first. Any
/// number of threads may use it.
class TileCache {
public:
    using Bytes = std::shared_ptr<const std::string>;

    explicit TileCache(std::size_t mostBytes) : most(mostBytes) {}

    /// Null when it is not in the cache.
    Bytes Find(const std::string& key) {
        const std::scoped_lock lock(mutex);
        const auto found = places.find(key);
        if (found == places.end()) return nullptr;
        tiles.splice(tiles.begin(), tiles, found->second);
        return found->second->second;
    }

    void Put(const std::string& key, Bytes bytes) {
        const std::scoped_lock lock(mutex);
        if (places.contains(key)) return;
        held += SizeOf(key, *bytes);
        tiles.emplace_front(key, std::move(bytes));
        places.emplace(key, tiles.begin());
        while (held > most) {
            const auto& [oldest, dropped] = tiles.back();
            held -= SizeOf(oldest, *dropped);
            places.erase(oldest);
            tiles.pop_back();
        }
    }

private:
    /// Includes the approximate size of the list entries.
    static std::size_t SizeOf(const std::string& key, const std::string& bytes) {
        return 2 * key.size() + bytes.size() + 256;
    }

    using Tiles = std::list<std::pair<std::string, Bytes>>;
    const std::size_t most;
    std::mutex mutex;
    std::size_t held = 0;
    Tiles tiles; ///< last used first
    std::unordered_map<std::string, Tiles::iterator> places;
};

} // namespace view
