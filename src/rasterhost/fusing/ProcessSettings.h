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

/// The settings that the process objects of a run are created with.
struct ProcessSettings {
    KOVA::Tessara::Global::NameValueMap properties;
    std::string method;    ///< the keyword as the plug-in writes it
    std::size_t bands = 0; ///< number of multispectral bands that take part: the first in the scene's order
    std::uint32_t outputBands = 0;
    /// Weights of the multispectral bands in the simulated pan, in the order of the request; empty for a
    /// method that weighs no bands.
    std::vector<double> effectiveWeights;
    std::optional<double> infraredWeight; ///< of the infrared band, if the method uses one
    /// Pan's low-pass, for a method that compares pan with it. Such a method weighs no bands.
    std::shared_ptr<const hostkit::PanLowPass> lowPass;

    [[nodiscard]] double GetWeightSum() const; ///< including the infrared band
    /// Restricts a scene to the bands that take part; the first of them are written.
    void Narrow(Scene& scene) const;
};

/// True when the weights of a request are to be fitted: the method weighs bands, and the request gives no
/// weights, also none as raw properties.
[[nodiscard]] bool WantsFit(const SharpenRequest& request, const PansharpDescription& plugin);

/// True when the method compares pan with its low-pass, so that blur and gains are needed.
[[nodiscard]] bool WantsDetail(const SharpenRequest& request, const PansharpDescription& plugin);

/// Converts a request to process properties, with blur and gains if the method uses them (`detail` is null
/// before they are known). A method that weighs no bands writes the bands that it needs unless others are
/// requested. False, with an item, when
/// - the plug-in has no such method;
/// - the number of weights is wrong, or their sum is not above 0;
/// - a raw property is reserved for the host, or weighs a band that does not exist.
[[nodiscard]] bool MakeSettings(const SharpenRequest& request, const Scene& scene,
                                const PansharpDescription& plugin, const DetailFit* detail,
                                ProcessSettings& settings, Status& status);

} // namespace rasterhost
