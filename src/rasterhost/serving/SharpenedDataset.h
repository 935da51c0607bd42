#pragma once

#include "rasterhost/serving/SceneLevel.h"
#include "rasterhost/serving/WindowWriter.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace rasterhost {

/// A pair that is fused when its pixels are asked for: the image that `Sharpen` writes, with windows at any
/// zoom. Any number of threads may read at a time; each fuses what it asks for. Fused pixels are not kept.
///
/// At full size a window has the bytes of the written file, however the scene is divided into windows. Zoomed
/// out by 2^k, it is fused from reduced inputs (SceneLevel.h). At any other factor it is the mean, by area,
/// of the next finer of these levels. A pixel has data when any pixel that it is made of has data.
class SharpenedDataset {
public:
    SharpenedDataset(std::shared_ptr<const OpenPair> openPair, Fusion howToFuse);

    [[nodiscard]] std::uint32_t GetColumns() const { return columns; }
    [[nodiscard]] std::uint32_t GetRows() const { return rows; }
    /// The number of bands: those of the fused image, plus one for transparency if requested.
    [[nodiscard]] std::uint32_t GetBands() const { return fusion.rules.GetFileBands(); }
    [[nodiscard]] std::uint32_t GetBits() const { return bits; } ///< of a sample, 8 or 16
    /// The number of levels. Level k has ceil(columns / 2^k) x ceil(rows / 2^k) pixels. The last level has
    /// one pixel, or is the 16th.
    [[nodiscard]] unsigned CountLevels() const { return static_cast<unsigned>(levels.size()); }
    /// False when every pixel is known to have data.
    [[nodiscard]] bool MayLackData() const { return rasterhost::MayLackData(SourcesOf(pair->GetScene())); }
    [[nodiscard]] const OpenPair& GetPair() const { return *pair; }
    [[nodiscard]] const Fusion& GetFusion() const { return fusion; }

    /// The metadata of the written file about how it was made. Reads no pixels. False with items.
    [[nodiscard]] bool Describe(OutputMetadata& metadata, Status& status) const {
        return levels.front()->Describe(fusion.found, metadata, status);
    }

    /// Makes a window of the dataset, in outColumns x outRows pixels. `bands` count from 0; without any, only
    /// the mask is made and nothing is fused. False with items; the contents of the target are then
    /// undefined.
    [[nodiscard]] bool Read(const hostkit::PixelRect& window, std::uint32_t outColumns, std::uint32_t outRows,
                            std::span<const std::uint32_t> bands, const WindowTarget& target,
                            Status& status) const;

private:
    /// Receives fused rows of a level, counted from its first.
    using TakeRow = std::function<void(std::uint32_t row, const FusedRow& fused)>;

    bool CheckRequest(const hostkit::PixelRect& window, std::uint32_t outColumns, std::uint32_t outRows,
                      std::span<const std::uint32_t> bands, Status& status) const;
    template <class T>
    bool ReadWindow(const hostkit::PixelRect& window, std::uint32_t outColumns, std::uint32_t outRows,
                    std::span<const std::uint32_t> bands, const WindowTarget& target, Status& status) const;
    bool ReadLevel(unsigned level, const hostkit::PixelRect& rect, FusionSlot::Want want, const TakeRow& take,
                   Status& status) const;
    template <class T, class Writer>
    bool Resample(unsigned level, const hostkit::PixelRect& window, std::uint32_t outColumns,
                  std::uint32_t outRows, FusionSlot::Want want, Writer& writer, Status& status) const;

    const std::shared_ptr<const OpenPair> pair;
    const Fusion fusion;
    std::uint32_t columns, rows, bits;
    std::vector<std::unique_ptr<const SceneLevel>> levels;
    mutable hostkit::LeasePool<SceneLevel::Slot, unsigned> slots; ///< by level
};

} // namespace rasterhost
