#pragma once

#include "host/Describe.h"
#include "host/NameValueMap.h"
#include "rasterhost/Scene.h"

#include <string>
#include <vector>

namespace rasterhost {

/// IDs under which the process finds its images.
inline constexpr const char* multispectralId = "multispectral";
inline constexpr const char* sceneId = "scene";

/// What the process objects of a run are created with.
struct ProcessSettings {
    KOVA::Tessara::Global::NameValueMap properties;
    std::string method; ///< the keyword as the plug-in writes it
    /// Weights of the multispectral bands in the simulated pan, in the order of the request.
    std::vector<double> effectiveWeights;
};

/// Turns a request into process properties. False with an item when the plug-in has no such method, when the
/// number of weights is wrong or when a raw property is one that the host keeps to itself.
[[nodiscard]] bool MakeSettings(const SharpenRequest& request, const Scene& scene,
                                const PansharpDescription& plugin, ProcessSettings& settings, Status& status);

/// The shortest text that reads as this number again.
[[nodiscard]] std::string NumberText(double number);

} // namespace rasterhost
