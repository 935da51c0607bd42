#pragma once

#include "rasterhost/scene/Scene.h"
#include "rasterhost/writing/OutputRow.h"

#include <gdal.h>

#include <string>
#include <utility>
#include <vector>

namespace rasterhost {

/// Entries, in order.
using OutputMetadata = std::vector<std::pair<std::string, std::string>>;

/// The colour that a fused band has, counted from 0.
[[nodiscard]] GDALColorInterp ColourOf(const Scene& scene, std::size_t band);

/// Gives a new file the position of the scene's part, the names and colours of the bands, the value that
/// means no data and the metadata.
void DescribeOutput(const Scene& scene, const OutputRules& rules, const OutputMetadata& metadata,
                    GDALDataset& output);

} // namespace rasterhost
