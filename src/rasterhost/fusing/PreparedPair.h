#pragma once

#include "hostkit/PluginLibrary.h"
#include "rasterhost/fusing/SceneFindings.h"
#include "rasterhost/scene/Scene.h"

namespace rasterhost {

/// A pair that is ready for any operation, and the plug-in that is to fuse it.
struct PreparedPair {
    std::unique_ptr<hostkit::PluginLibrary> plugin; ///< null for an operation that needs none
    std::unique_ptr<Scene> scene;
};

/// How preparing ended. Failed and Cancelled come with an item.
enum class Preparation { Done, Failed, Cancelled };

/// Opens the images of a pair and makes them ready: checks their sizes, looks for collars, takes back a shift
/// that is to be measured, over the pixels with data, and cuts the part that is asked for. `keepOn` is
/// asked between blocks of pixels and may be empty. `scene` is set once the images could be opened, also
/// where a later step fails. Collars that are `known`, where that is not null, are taken and no pixel is
/// read.
[[nodiscard]] Preparation PrepareScene(const PairRequest& request, const Warn& warn,
                                       const std::function<bool()>& keepOn, std::unique_ptr<Scene>& scene,
                                       Status& status, const SceneFindings* known = nullptr);

/// The same, with the plug-in that the options name, or the installed one. The options' progress is asked
/// whether to go on.
[[nodiscard]] Preparation Prepare(const PairRequest& request, const RunOptions& run, const Warn& warn,
                                  PreparedPair& pair, Status& status, const SceneFindings* known = nullptr);

} // namespace rasterhost
