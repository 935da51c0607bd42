#pragma once

#include "rasterhost/serving/SceneRecord.h"
#include "rasterhost/serving/SharpenedDataset.h"
#include "view/SceneFits.h"

#include <array>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace view {

/// Samples of a rectangle, interleaved by pixel.
struct Pixels {
    std::uint32_t columns = 0, rows = 0, bands = 0, bits = 8;
    std::vector<unsigned char> samples;
    std::vector<unsigned char> valid; ///< one byte per pixel, 0 without data; empty where all have

    [[nodiscard]] std::uint32_t GetSample(std::size_t pixel, std::uint32_t band) const;
};

/// The last few results, by what they were made from.
template <class Key, class Value>
class Recent {
public:
    explicit Recent(std::size_t mostEntries) : most(mostEntries) {}

    template <class Make>
    Value Get(const Key& key, const Make& make) {
        for (auto entry = entries.begin(); entry != entries.end(); ++entry)
            if (entry->first == key) {
                entries.splice(entries.begin(), entries, entry);
                return entry->second;
            }
        entries.emplace_front(key, make());
        if (entries.size() > most) entries.pop_back();
        return entries.front().second;
    }

private:
    std::size_t most;
    std::list<std::pair<Key, Value>> entries; ///< the last one used first
};

/// A scene that is looked at in any number of ways, by any number of threads. What it is asked for in vain
/// throws BadRequest.
class ViewedScene {
public:
    /// Opens the images. `threads` threads will read at a time. Null with items.
    static std::unique_ptr<ViewedScene> Open(const rasterhost::SharpenRequest& request,
                                             const rasterhost::SceneRecord* record, std::size_t threads,
                                             const rasterhost::Warn& warn, rasterhost::Status& status);

    /// A rectangle of the scene in pixels of 2^level x 2^level.
    [[nodiscard]] Pixels Read(const Look& look, unsigned level, const hostkit::PixelRect& rect);
    /// The two values below and above which `percent` per cent of the samples lie, in the whole scene looked
    /// at from afar. Band 0 is pan; multispectral bands count from 1.
    [[nodiscard]] std::pair<double, double> FindStretch(int band, double percent);
    /// How the look is fused.
    [[nodiscard]] Settled Settle(const Look& look) { return fits.Settle(look); }
    /// What fuses it. Its scene and fusion describe an output.
    [[nodiscard]] std::shared_ptr<const rasterhost::SharpenedDataset> GetDataset(const Look& look);

    [[nodiscard]] const rasterhost::Scene& GetScene() const { return all.pair->GetScene(); }
    [[nodiscard]] const PansharpDescription& GetPlugin() const { return fits.GetPlugin(); }
    [[nodiscard]] const rasterhost::SharpenRequest& GetBase() const { return fits.GetBase(); }
    [[nodiscard]] std::size_t GetBands() const { return fits.GetBands(); }
    [[nodiscard]] std::uint32_t GetColumns() const { return GetScene().part.GetColumns(); }
    [[nodiscard]] std::uint32_t GetRows() const { return GetScene().part.GetRows(); }
    /// The first level that fits into a tile.
    [[nodiscard]] unsigned GetCoarsest() const;

    static constexpr std::uint32_t tileSize = 256;

private:
    using Pair = std::shared_ptr<const rasterhost::OpenPair>;
    using Dataset = std::shared_ptr<const rasterhost::SharpenedDataset>;
    /// A pair and what fuses it: files are open for as long as it is kept.
    struct Opened {
        explicit Opened(Pair openPair) : pair(std::move(openPair)) {}

        const Pair pair;
        Recent<std::string, Dataset> datasets{6};
    };
    /// Sets of files open at a time, of each pair; a product may have a file for each band.
    static constexpr std::size_t mostSets = 8;

    ViewedScene(rasterhost::SharpenRequest base, rasterhost::SceneFindings known,
                rasterhost::PreparedPair fitted, Pair opened);
    Opened& GetOpened(const rasterhost::SharpenRequest& request);
    Dataset Make(const Settled& settled, bool isPlain);
    Pixels ReadPan(unsigned level, const hostkit::PixelRect& rect);
    void Gather(const Look& look, std::size_t first);

    SceneFits fits;
    std::mutex mutex; ///< of the datasets and the others
    Opened all;       ///< with all bands, sampled as the request says
    Recent<std::string, std::shared_ptr<Opened>> others{3};
    std::mutex stretchMutex;
    std::vector<std::vector<unsigned short>> sorted; ///< samples of pan and the bands, in ascending order
};

} // namespace view
