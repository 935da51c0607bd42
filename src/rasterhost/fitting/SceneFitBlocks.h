#pragma once

#include "fitting/FitBlock.h"
#include "rasterhost/reading/ReadAhead.h"
#include "rasterhost/scene/Scene.h"

#include <functional>
#include <optional>

namespace rasterhost {

using fitting::FitBlock;

/// Blocks of a scene: all its bands in the order of the process. Bands on other grids are averaged over the
/// pixels of the first grid.
class SceneFitBlocks final : public fitting::FitBlockSource {
public:
    /// Samples at 2^bitDepth - 1 and above are saturated; without `sampleDepth` each image's own depth is
    /// used. The scene must outlive this. `whetherWanted` is FitOptions::isWanted.
    SceneFitBlocks(const Scene& images, std::optional<int> sampleDepth,
                   std::function<bool()> whetherWanted = {});

    [[nodiscard]] std::size_t GetBands() const override;
    [[nodiscard]] std::array<double, 2> GetRatio() const override;
    [[nodiscard]] hostkit::PixelRect GetArea() const override;
    [[nodiscard]] std::vector<hostkit::PixelRect> Choose(std::uint32_t blocks,
                                                         std::uint32_t side) const override;
    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, FitBlock& block, Status& status) override;

private:
    const Scene& scene;
    std::optional<int> bitDepth;
    std::function<bool()> isWanted;
    void AskAhead() const;

    mutable ReadAhead ahead;
    mutable std::vector<hostkit::PixelRect> chosen; ///< the blocks to be read next, in this order
    mutable std::size_t asked = 0;                  ///< how many of them were asked for
    mutable std::uint64_t step = 0;                 ///< the step to be read next
};

} // namespace rasterhost
