#pragma once

#include "hostkit/PluginLibrary.h"
#include "rasterhost/fusing/SceneFindings.h"
#include "rasterhost/scene/Scene.h"

namespace rasterhost {

/// A pair that is ready for any operation, with the plug-in to fuse it.
struct PreparedPair {
    std::unique_ptr<hostkit::PluginLibrary> plugin; ///< null for an operation that needs none
    std::unique_ptr<Scene> scene;
};

/// How the preparation ended. Failed and Cancelled come with an item.
enum class Preparation { Done, Failed, Cancelled };

/// Opens the images of a pair and prepares them: checks their sizes, looks for collars, measures a shift over
/// the pixels with data and corrects it, and cuts out the requested part. `keepOn` is called between blocks
/// of pixels and may be empty. `scene` is set once the images are open, even if a later step fails. If
/// `known` is not null, its collars are used and no pixel is read.
[[nodiscard]] Preparation PrepareScene(const PairRequest& request, const Warn& warn,
                                       const std::function<bool()>& keepOn, std::unique_ptr<Scene>& scene,
                                       Status& status, const SceneFindings* known = nullptr);

/// The same, with the plug-in that the options name, or the installed one. The options' progress may cancel.
[[nodiscard]] Preparation Prepare(const PairRequest& request, const RunOptions& run, const Warn& warn,
                                  PreparedPair& pair, Status& status, const SceneFindings* known = nullptr);

} // namespace rasterhost
