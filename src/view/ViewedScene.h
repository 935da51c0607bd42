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
    std::vector<unsigned char> valid; ///< one byte per pixel, 0 without data; empty when all have data

    [[nodiscard]] std::uint32_t GetSample(std::size_t pixel, std::uint32_t band) const;
};

/// The most recent results, by what they were made from.
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
    std::list<std::pair<Key, Value>> entries; ///< last used first
};

/// A scene that any number of threads view in any number of ways. Requests that cannot be met throw
/// BadRequest.
class ViewedScene {
public:
    /// Opens the images. `threads` threads may read at a time. Null with items.
    static std::unique_ptr<ViewedScene> Open(const rasterhost::SharpenRequest& request,
                                             const rasterhost::SceneRecord* record, std::size_t threads,
                                             const rasterhost::Warn& warn, rasterhost::Status& status);

    /// A rectangle of the scene in pixels of 2^level x 2^level.
    [[nodiscard]] Pixels Read(const Look& look, unsigned level, const hostkit::PixelRect& rect);
    /// The two values below and above which `percent` per cent of the samples lie, in the coarsest view of
    /// the whole scene. Band 0 is pan; multispectral bands count from 1.
    [[nodiscard]] std::pair<double, double> FindStretch(int band, double percent);
    /// How the look is fused.
    [[nodiscard]] Settled Settle(const Look& look) { return fits.Settle(look); }
    /// The dataset that fuses the look. Its scene and fusion describe an output.
    [[nodiscard]] std::shared_ptr<const rasterhost::SharpenedDataset> GetDataset(const Look& look);

    [[nodiscard]] const rasterhost::Scene& GetScene() const { return all.pair->GetScene(); }
    [[nodiscard]] const PansharpDescription& GetPlugin() const { return fits.GetPlugin(); }
    [[nodiscard]] const rasterhost::SharpenRequest& GetBase() const { return fits.GetBase(); }
    [[nodiscard]] std::size_t GetBands() const { return fits.GetBands(); }
    [[nodiscard]] std::uint32_t GetColumns() const { return GetScene().part.GetColumns(); }
    [[nodiscard]] std::uint32_t GetRows() const { return GetScene().part.GetRows(); }
    /// The first level that fits into one tile.
    [[nodiscard]] unsigned GetCoarsest() const;

    static constexpr std::uint32_t tileSize = 256;

private:
    using Pair = std::shared_ptr<const rasterhost::OpenPair>;
    using Dataset = std::shared_ptr<const rasterhost::SharpenedDataset>;
    /// A pair and the dataset that fuses it; files stay open while it is kept.
    struct Opened {
        explicit Opened(Pair openPair) : pair(std::move(openPair)) {}

        const Pair pair;
        Recent<std::string, Dataset> datasets{6};
    };
    /// Sets of files that a pair opens at a time. A product may have one file per band.
    static constexpr std::size_t mostSets = 8;

    ViewedScene(rasterhost::SharpenRequest base, rasterhost::SceneFindings known,
                rasterhost::PreparedPair fitted, Pair opened);
    Opened& GetOpened(const rasterhost::SharpenRequest& request);
    Dataset Make(const Settled& settled, bool isPlain);
    Pixels ReadPan(unsigned level, const hostkit::PixelRect& rect);
    void Gather(const Look& look, std::size_t first);

    SceneFits fits;
    std::mutex mutex; ///< guards the datasets and `others`
    Opened all;       ///< with all bands, resampled as the request says
    Recent<std::string, std::shared_ptr<Opened>> others{3};
    std::mutex stretchMutex;
    std::vector<std::vector<unsigned short>> sorted; ///< samples of pan and of each band, in ascending order
};

} // namespace view
