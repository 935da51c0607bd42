#include "view/SceneFits.h"

#include "fundament/Text.h"
#include "hostkit/MethodTable.h"
#include "rasterhost/fusing/ProcessSettings.h"
#include "rasterhost/requests/HostStatus.h"
#include "view/BadRequest.h"

#include <utility>

namespace view {

using KOVA::Tessara::Fundament::StringsEqual;
using rasterhost::Status;

namespace {

constexpr std::size_t mostFits = 64; // kept of each kind

/// A cancelled fit may be asked for again; one that failed fails again.
[[noreturn]] void ThrowFitFailure(const Status& status) {
    const bool isCancelled =
        status.GetCount() > 0 && status.GetItem(0).id == rasterhost::HostStatus::Cancelled;
    ThrowFailure(status, isCancelled ? 503 : 500);
}

} // namespace

void ThrowFailure(const Status& status, unsigned httpStatus) {
    throw BadRequest(status.GetCount() > 0 ? status.GetItem(0).message : "it cannot be done", httpStatus);
}

SceneFits::SceneFits(rasterhost::SharpenRequest baseRequest, rasterhost::SceneFindings knownFindings,
                     rasterhost::PreparedPair pair)
    : base(std::move(baseRequest)), known(std::move(knownFindings)), fitted(std::move(pair)) {
    if (known.detail && base.transfer) details.emplace(base.transfer, *known.detail);
}

rasterhost::PreparedPair SceneFits::OpenAgain(const rasterhost::SharpenRequest& request) const {
    rasterhost::SceneFindings found;
    found.collars = known.collars;
    if (base.infrared && !request.infrared) found.collars.pop_back();
    rasterhost::PreparedPair pair;
    Status status;
    const auto ignore = [](const std::string&) {};
    if (rasterhost::Prepare(request, request, ignore, pair, status, &found) != rasterhost::Preparation::Done)
        ThrowFailure(status, 500);
    return pair;
}

Settled SceneFits::Settle(const Look& look) {
    Settled settled{base, {}};
    rasterhost::SharpenRequest& request = settled.request;
    Status status;
    const PansharpMethod* method =
        hostkit::FindMethod(GetPlugin(), look.method.empty() ? base.method : look.method, status);
    if (!method) ThrowFailure(status, 400);
    request.method = method->keyword;
    if (!StringsEqual(request.method, base.method, true))
        static_cast<rasterhost::FusionRequest&>(request) = {request.method,         {}, {}, {}, {}, {},
                                                            base.publishedTransfer, {}};
    if (look.sampling) request.resampling = *look.sampling;
    if (!look.bands.empty()) request.bands = look.bands;
    for (const int band : request.bands)
        if (static_cast<std::size_t>(band) > GetBands())
            throw BadRequest("bands: there is no band " + std::to_string(band) + "; the scene has " +
                             std::to_string(GetBands()));
    const bool usesLowPass = hostkit::UsesLowPass(*method);
    if (!usesLowPass && (look.transfer || !look.gains.empty()))
        throw BadRequest("the method " + request.method + " takes neither mtf nor gains; leave them out");
    if (!hostkit::WeighsBands(*method) && !look.weights.empty())
        throw BadRequest("the method " + request.method + " takes no weights; leave them out");
    if (usesLowPass)
        SettleDetail(look, settled);
    else
        SettleWeights(look, *method, settled);
    return settled;
}

void SceneFits::SettleWeights(const Look& look, const PansharpMethod& method, Settled& settled) {
    rasterhost::SharpenRequest& request = settled.request;
    request.transfer.reset();
    request.gains.clear();
    if (!look.weights.empty()) request.weights = look.weights;
    if (look.infraredWeight) request.infraredWeight = look.infraredWeight;
    if (look.infraredWeight && !request.infrared)
        throw BadRequest("the scene has no infrared band to weigh; leave infrared_weight out");
    const bool lacksInfrared = request.infrared && !request.infraredWeight;
    if (!hostkit::WeighsBands(method) || (!request.weights.empty() && !lacksInfrared)) return;
    rasterhost::SharpenRequest open = request;
    open.weights.clear();
    if (rasterhost::WantsFit(open, GetPlugin())) {
        const rasterhost::WeightFit fit = FindWeights(look, request.infraredWeight);
        if (fit.obstacle.empty()) {
            request.infraredWeight = fit.infraredWeight;
            if (!request.weights.empty()) return;
            request.weights = fit.weights;
            settled.found.fit = fit;
            return;
        }
    }
    if (!request.properties.empty()) return; // they may weigh the bands
    const double equal = 1.0 / static_cast<double>(fitted.scene->CountBands());
    if (request.weights.empty()) request.weights.assign(GetBands(), equal);
    if (lacksInfrared) request.infraredWeight = equal;
}

void SceneFits::SettleDetail(const Look& look, Settled& settled) {
    rasterhost::SharpenRequest& request = settled.request;
    request.infrared.reset();
    request.weights.clear();
    request.infraredWeight.reset();
    if (look.infraredWeight)
        throw BadRequest("the method " + request.method + " weighs no infrared band; leave it out");
    if (look.transfer && look.transfer != request.transfer) request.gains.clear();
    if (look.transfer) request.transfer = look.transfer;
    if (!look.gains.empty()) request.gains = look.gains;
    const std::string fault = fitting::FindFault({request.transfer, request.gains}, GetBands());
    if (!fault.empty()) throw BadRequest(fault);
    rasterhost::DetailFit detail = FindDetail(look, request.transfer);
    if (!request.gains.empty()) detail.gains = request.gains;
    request.transfer = detail.transfer;
    request.gains = detail.gains;
    settled.found.detail = std::move(detail);
}

std::function<bool()> SceneFits::WhetherWanted(const Look& look) const {
    return [this, &look] {
        return (!look.isWanted || look.isWanted()) && (!base.progress || base.progress(0.0));
    };
}

rasterhost::WeightFit SceneFits::FindWeights(const Look& look, std::optional<double> infraredWeight) {
    const std::scoped_lock lock(mutex);
    if (const auto found = weights.find(infraredWeight); found != weights.end()) return found->second;
    if (weights.size() >= mostFits) weights.clear();
    rasterhost::WeightFit fit;
    Status status;
    if (!rasterhost::FitWeights(*fitted.scene, {base.bitDepth, infraredWeight, WhetherWanted(look)}, fit,
                                nullptr, status))
        ThrowFitFailure(status);
    return weights[infraredWeight] = fit;
}

rasterhost::DetailFit SceneFits::FindDetail(const Look& look, std::optional<double> transfer) {
    const std::scoped_lock lock(mutex);
    if (const auto found = details.find(transfer); found != details.end()) return found->second;
    if (details.size() >= mostFits) details.clear();
    rasterhost::FusionRequest open;
    open.transfer = transfer;
    open.publishedTransfer = base.publishedTransfer;
    rasterhost::DetailFit fit;
    Status status;
    rasterhost::PreparedPair colours; // methods that use it do not read the infrared band
    if (base.infrared) {
        rasterhost::SharpenRequest request = base;
        request.infrared.reset();
        request.bands.clear();
        colours = OpenAgain(request);
    }
    const rasterhost::Scene& from = colours.scene ? *colours.scene : *fitted.scene;
    if (!rasterhost::FitDetail(from, open, base.bitDepth, fit, status, WhetherWanted(look)))
        ThrowFitFailure(status);
    details[fit.transfer] = fit;
    return details[transfer] = fit;
}

} // namespace view
