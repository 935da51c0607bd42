#pragma once

#include "rasterhost/fusing/PreparedPair.h"
#include "view/Request.h"

#include <map>
#include <mutex>
#include <optional>

namespace view {

/// How a look is fused, with nothing left open.
struct Settled {
    rasterhost::SharpenRequest request; ///< as the command would get it
    rasterhost::SceneFindings found;
};

/// Fits what looks leave open, each only once. Any number of threads may use it; one of them fits at a time.
class SceneFits {
public:
    /// `base` is how the scene is fused by default; `known` is what was found for that. `pair` has all bands
    /// and is read by this object alone.
    SceneFits(rasterhost::SharpenRequest base, rasterhost::SceneFindings known,
              rasterhost::PreparedPair pair);

    /// Throws BadRequest for a look that the scene or the plug-in does not support, and when it is no longer
    /// wanted or the server stops during a fit.
    [[nodiscard]] Settled Settle(const Look& look);

    /// Opens the images of the scene again as the request wants them; reads no pixels.
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
    std::map<std::optional<double>, rasterhost::WeightFit> weights; ///< by the weight of the infrared band
    std::map<std::optional<double>, rasterhost::DetailFit> details; ///< by the modulation transfer
};

/// Throws BadRequest with the first item of a status and an HTTP status.
[[noreturn]] void ThrowFailure(const rasterhost::Status& status, unsigned httpStatus);

} // namespace view
