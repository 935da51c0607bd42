#pragma once

#include "hostkit/SampleBlock.h"
#include "view/ViewedScene.h"

#include <string>

namespace view {

/// The command line that writes a window of the scene, in pixels of it, as the settled request fuses it: the
/// same bytes. The whole scene where the window is empty, or where pan has no position that it could be named
/// by. For a shell as POSIX has it.
[[nodiscard]] std::string CommandText(const ViewedScene& scene, const rasterhost::SharpenRequest& request,
                                      const hostkit::PixelRect& window);

/// True when parts of the scene can be named in map units.
[[nodiscard]] bool CanNameParts(const ViewedScene& scene);

} // namespace view
