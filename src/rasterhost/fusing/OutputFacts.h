#pragma once

#include "rasterhost/fusing/FusionSlot.h"
#include "rasterhost/fusing/SceneFindings.h"
#include "rasterhost/writing/OutputDescription.h"

namespace rasterhost {

/// Metadata of a fused image: what the process says of itself for the sizes of the whole images; weights,
/// blur and gains and how they were found; and the program as `softwareItem`. Reads no pixels. `sources` are
/// those of full size. False, with items, when the process refuses the settings.
[[nodiscard]] bool DescribeFusion(const FusionSources& sources, const hostkit::PluginLibrary& plugin,
                                  const ProcessSettings& settings, const SceneFindings& found,
                                  const char* softwareItem, OutputMetadata& metadata, Status& status);

} // namespace rasterhost
