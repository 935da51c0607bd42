#pragma once

#include "rasterhost/fusing/OutputFacts.h"
#include "rasterhost/serving/Fusion.h"
#include "rasterhost/serving/LevelImage.h"
#include "rasterhost/serving/OpenPair.h"

#include <memory>
#include <vector>

namespace rasterhost {

/// A scene in pixels of 2^level x 2^level of pan's: a pan image of its own from the corner of the scene's
/// part, beneath it the other images, each reduced as far as leaves its pixels no larger than those of the
/// level. The formula and its parameters are those of full size. Pan's low-pass stays as wide on the ground;
/// from where the level's pixels are as large as the multispectral ones it is pan itself, so that nothing is
/// added and the bands are the result.
///
/// Never changes; good for as long as the pair.
class SceneLevel {
public:
    SceneLevel(const OpenPair& openPair, const Fusion& fusion, unsigned levelNumber);

    /// What fuses windows of it, one at a time.
    class Slot {
    public:
        /// Reads from these files from now on.
        void ReadFrom(const OpenPair::Readers& lent);
        FusionSlot& operator*() { return *fusion; }

    private:
        friend SceneLevel;
        std::vector<std::unique_ptr<LevelImage>> images;
        std::vector<std::size_t> readers;   ///< where those of each image stand among all
        std::unique_ptr<FusionSlot> fusion; ///< reads from them
    };

    /// Null with items when the process refuses.
    [[nodiscard]] std::unique_ptr<Slot> MakeSlot(Status& status) const;

    /// What an image fused so tells of it, of the level of full size (OutputFacts.h). False with items.
    [[nodiscard]] bool Describe(const SceneFindings& found, OutputMetadata& metadata, Status& status) const;

    /// All of the level: at full size the part of pan, else from column and row 0.
    [[nodiscard]] const hostkit::PixelRect& GetPart() const { return part; }

private:
    struct Beneath {
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
    std::vector<Beneath> beneath;
    ProcessSettings settings;
    bool isPlain; ///< the result is the multispectral image
};

} // namespace rasterhost
