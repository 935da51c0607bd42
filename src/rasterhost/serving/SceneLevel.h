#pragma once

#include "rasterhost/fusing/OutputFacts.h"
#include "rasterhost/serving/Fusion.h"
#include "rasterhost/serving/LevelImage.h"
#include "rasterhost/serving/OpenPair.h"

#include <memory>
#include <vector>

namespace rasterhost {

/// A scene in pixels of 2^level x 2^level pan pixels. It has a pan image of its own from the corner of the
/// scene's part. The other images are each reduced as far as their pixels stay no larger than the level's.
/// Formula and parameters are those of full size. Pan's low-pass keeps its width on the ground. Once the
/// level's pixels are as large as the multispectral ones, the low-pass is pan itself: no detail is added, and
/// the bands are the result.
///
/// Never changes. The pair must outlive it.
class SceneLevel {
public:
    SceneLevel(const OpenPair& openPair, const Fusion& fusion, unsigned levelNumber);

    /// Fuses windows of the level, one at a time.
    class Slot {
    public:
        /// Reads from these files from now on.
        void ReadFrom(const OpenPair::Readers& lent);
        FusionSlot& operator*() { return *fusion; }

    private:
        friend SceneLevel;
        std::vector<std::unique_ptr<LevelImage>> images;
        std::vector<std::size_t> readers;   ///< positions of each image's readers among all
        std::unique_ptr<FusionSlot> fusion; ///< reads from them
    };

    /// Null, with items, when the process refuses the settings.
    [[nodiscard]] std::unique_ptr<Slot> MakeSlot(Status& status) const;

    /// The metadata of an image fused at full size (OutputFacts.h). False with items.
    [[nodiscard]] bool Describe(const SceneFindings& found, OutputMetadata& metadata, Status& status) const;

    /// All of the level: at full size the part of pan, else a rectangle from column and row 0.
    [[nodiscard]] const hostkit::PixelRect& GetPart() const { return part; }

private:
    struct CoarseImage {
        std::size_t reader;
        std::shared_ptr<const ImageDescription> description;
        unsigned level;
        std::shared_ptr<const hostkit::Placement> placement;
        std::vector<std::size_t> bands;
        Role role;
    };
    void AddImage(std::size_t position, std::size_t keptBands);
    FusionSources MakeSources(Slot& slot) const;

    const OpenPair& pair;
    unsigned level;
    hostkit::PixelRect part, covered;
    std::vector<CoarseImage> coarse;
    ProcessSettings settings;
    bool isPlain; ///< the result is the multispectral image
};

} // namespace rasterhost
