#pragma once

#include "rasterhost/fusing/FusionSlot.h"
#include "rasterhost/fusing/SceneFindings.h"
#include "rasterhost/writing/OutputDescription.h"

namespace rasterhost {

/// What a fused image tells of how it was made: what the process says of itself, with the sizes of whole
/// images, then weights, blur and gains, what they were found by, and, as `softwareItem`, the program. Reads
/// no pixels. `sources` are those of full size. False with items when the process refuses the settings.
[[nodiscard]] bool DescribeFusion(const FusionSources& sources, const hostkit::PluginLibrary& plugin,
                                  const ProcessSettings& settings, const SceneFindings& found,
                                  const char* softwareItem, OutputMetadata& metadata, Status& status);

} // namespace rasterhost
