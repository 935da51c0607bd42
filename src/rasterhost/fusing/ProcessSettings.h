#pragma once

#include "host/Describe.h"
#include "host/NameValueMap.h"
#include "hostkit/PanLowPass.h"
#include "rasterhost/fitting/SceneDetail.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace rasterhost {

/// What the process objects of a run are created with.
struct ProcessSettings {
    KOVA::Tessara::Global::NameValueMap properties;
    std::string method;    ///< the keyword as the plug-in writes it
    std::size_t bands = 0; ///< multispectral ones that take part: the first in the scene's order
    std::uint32_t outputBands = 0;
    /// Weights of the multispectral bands in the simulated pan, in the order of the request; empty for a
    /// method that weighs no bands.
    std::vector<double> effectiveWeights;
    std::optional<double> infraredWeight; ///< that of the infrared band, where the method reads one
    /// Pan's low-pass, for a method that compares pan with it; it weighs no bands then.
    std::shared_ptr<const hostkit::PanLowPass> lowPass;

    [[nodiscard]] double GetWeightSum() const; ///< the infrared band's counted
    /// Leaves a scene with the bands that take part, and has the first of them written.
    void Narrow(Scene& scene) const;
};

/// True when the weights of a request are to be fitted: it gives none, raw ones included, and the method
/// weighs bands.
[[nodiscard]] bool WantsFit(const SharpenRequest& request, const PansharpDescription& plugin);

/// True when the method compares pan with its low-pass, so that blur and gains are wanted.
[[nodiscard]] bool WantsDetail(const SharpenRequest& request, const PansharpDescription& plugin);

/// Turns a request into process properties, with the blur and the gains where the method wants them (null
/// before they are known); a method that weighs no bands writes those that it needs unless
/// others are asked for. False with an item when the plug-in has no such method, when the
/// number of weights is wrong or their sum not above 0, or when a raw property is one that the host keeps to
/// itself or weighs a band that is not there.
[[nodiscard]] bool MakeSettings(const SharpenRequest& request, const Scene& scene,
                                const PansharpDescription& plugin, const DetailFit* detail,
                                ProcessSettings& settings, Status& status);

} // namespace rasterhost
