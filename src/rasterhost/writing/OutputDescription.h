#pragma once

#include "imagery/OutputRow.h"
#include "rasterhost/scene/Scene.h"

#include <gdal.h>

#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace rasterhost {

/// Metadata entries, in order.
using OutputMetadata = std::vector<std::pair<std::string, std::string>>;

/// The colours of this many fused bands. If no band has a known colour, the first is grey and the others are
/// undefined, as in images without known colours.
[[nodiscard]] std::vector<GDALColorInterp> ColoursOf(const Scene& scene, std::size_t bands);

/// The geotransform of a part of pan; empty when pan has no position, or one by control points.
[[nodiscard]] std::optional<std::array<double, 6>> PlaceOfPart(const Scene& scene,
                                                               const hostkit::PixelRect& part);

/// Whether two geotransforms place an image of `side` pixels across and down alike: by less than 0.01 pixel,
/// since formats and world files round their numbers.
[[nodiscard]] bool LieAlike(const std::array<double, 6>& a, const std::array<double, 6>& b, int side);

/// The projection of the output: pan's, if it has one; may be empty.
[[nodiscard]] const OGRSpatialReference& ProjectionOf(const Scene& scene);

/// Sets on a new file the position of a part of pan, the names and colours of the bands, the value for no
/// data and the metadata.
void DescribeOutput(const Scene& scene, const hostkit::PixelRect& part, const imagery::OutputRules& rules,
                    const OutputMetadata& metadata, GDALDataset& output);

/// Copies what GDAL's copying leaves out: the time of acquisition and the wavelengths of the bands.
void CarryImagery(GDALDataset& described, GDALDataset& copy);

} // namespace rasterhost
