#pragma once

#include "hostkit/LeasePool.h"
#include "rasterhost/fusing/PreparedPair.h"
#include "rasterhost/serving/ReducedStore.h"

#include <atomic>
#include <memory>
#include <vector>

namespace rasterhost {

/// A pair that any number of datasets fuse, each in its own way, from any number of threads. Its description
/// is shared and never changes. Open files are lent to one reader at a time.
class OpenPair {
public:
    /// Open files to read all images of the pair from.
    struct Readers {
        std::vector<std::unique_ptr<InputImage>> owned;
        std::vector<InputImage*> images; ///< pan, then those of the scene
    };
    using Pool = hostkit::LeasePool<Readers, int>;

    /// `prepared` has a plug-in. At most `mostReaders` sets of files are open at a time: the pair's own, and
    /// others opened on demand.
    OpenPair(PreparedPair prepared, std::size_t mostReaders);

    [[nodiscard]] const Scene& GetScene() const { return *pair.scene; }
    [[nodiscard]] const hostkit::PluginLibrary& GetPlugin() const { return *pair.plugin; }
    [[nodiscard]] std::size_t GetMostReaders() const { return mostSets; }
    /// The stored reduced form of an image, for coarse levels. Position 0 is pan; the images of the scene
    /// follow.
    [[nodiscard]] ReducedStore& GetStore(std::size_t position) const { return *stores[position]; }
    /// Lends a set of files; waits while all are lent. Empty, with an item, when a file cannot be opened
    /// again.
    [[nodiscard]] Pool::Lease Lend(Status& status) const;

private:
    std::unique_ptr<Readers> OpenReaders(Status& status) const;

    const PreparedPair pair;
    const std::size_t mostSets;
    mutable std::atomic<bool> isOwnSetOut = false; ///< whether the pair's own set is in the pool
    mutable Pool pool;
    std::vector<std::unique_ptr<ReducedStore>> stores;
};

} // namespace rasterhost
