#pragma once

#include "rasterhost/fusing/PreparedPair.h"
#include "view/Request.h"

#include <map>
#include <mutex>
#include <optional>

namespace view {

/// How a look is fused, with nothing left open.
struct Settled {
    rasterhost::SharpenRequest request; ///< that the command would be given
    rasterhost::SceneFindings found;
};

/// Fits what looks leave open, each thing once. For any number of threads; one fits at a time.
class SceneFits {
public:
    /// `base` says how the scene is fused where a look says nothing; `known` is what was found for that. The
    /// pair is of all bands and this one's own to read.
    SceneFits(rasterhost::SharpenRequest base, rasterhost::SceneFindings known,
              rasterhost::PreparedPair pair);

    /// Throws BadRequest for a look that the scene or the plug-in has no place for, and where it is not
    /// wanted any more or the server is stopping while something is fitted.
    [[nodiscard]] Settled Settle(const Look& look);

    /// The images of the scene as the request wants them, in files of their own; reads no pixels.
    [[nodiscard]] rasterhost::PreparedPair OpenAgain(const rasterhost::SharpenRequest& request) const;

    [[nodiscard]] const PansharpDescription& GetPlugin() const { return fitted.plugin->GetDescription(); }
    [[nodiscard]] std::size_t GetBands() const { return fitted.scene->bandOrder.size(); }
    [[nodiscard]] const rasterhost::SharpenRequest& GetBase() const { return base; }

private:
    void SettleWeights(const Look& look, const PansharpMethod& method, Settled& settled);
    void SettleDetail(const Look& look, Settled& settled);
    rasterhost::WeightFit FindWeights(const Look& look, std::optional<double> infraredWeight);
    rasterhost::DetailFit FindDetail(const Look& look, std::optional<double> transfer);
    [[nodiscard]] std::function<bool()> WhetherWanted(const Look& look) const;

    const rasterhost::SharpenRequest base;
    const rasterhost::SceneFindings known;
    const rasterhost::PreparedPair fitted;
    std::mutex mutex;
    std::map<std::optional<double>, rasterhost::WeightFit> weights; ///< by the infrared band's
    std::map<std::optional<double>, rasterhost::DetailFit> details; ///< by the modulation transfer
};

/// Throws BadRequest with the first of what went wrong and this status of HTTP.
[[noreturn]] void ThrowFailure(const rasterhost::Status& status, unsigned httpStatus);

} // namespace view
