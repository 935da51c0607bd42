#pragma once

#include "hostkit/SampleBlock.h"
#include "view/ViewedScene.h"

#include <string>

namespace view {

/// The command line that writes a window of the scene, in its pixels, as the settled request fuses it, with
/// the same bytes. It writes the whole scene when the window is empty, or when pan has no position to name
/// the window by. Quoted for a POSIX shell.
[[nodiscard]] std::string CommandText(const ViewedScene& scene, const rasterhost::SharpenRequest& request,
                                      const hostkit::PixelRect& window);

/// True when parts of the scene can be named in map units.
[[nodiscard]] bool CanNameParts(const ViewedScene& scene);

} // namespace view
