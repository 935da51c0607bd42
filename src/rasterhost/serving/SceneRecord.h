#pragma once

#include "rasterhost/fusing/SceneFindings.h"
#include "rasterhost/requests/Requests.h"
#include "rasterhost/serving/FileFingerprint.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace rasterhost {

/// The form of the fused image of a scene, for all readers.
struct SceneOutput {
    std::uint32_t columns = 0, rows = 0; ///< of the requested part
    std::uint32_t bits = 8;              ///< of a sample, 8 or 16
    std::uint32_t bitDepth = 8;          ///< bits that the samples use
    /// Of the part; empty when pan has no position, or one by control points.
    std::optional<std::array<double, 6>> geoTransform;
    std::string projection;              ///< WKT; may be empty
    std::vector<std::string> bandNames;  ///< of the fused bands; each may be empty
    std::vector<std::string> colours;    ///< GDAL's names; each may be empty
    std::optional<std::uint32_t> noData; ///< value of pixels without data; empty with alpha or a mask
    bool hasAlpha = false;               ///< has a last band after the fused ones
};

/// Everything that defines how a scene is fused; nothing is left to be found in its pixels. It is the content
/// of a ".pansharp" file.
struct SceneRecord {
    /// Without `measureShift` and `findScale`; with a bit depth for 16-bit samples that are not scaled.
    PairRequest pair;
    /// With a method as the plug-in spells it, and with weights, or blur and gains, if the method has them.
    FusionRequest fusion;
    SceneOutput output;
    SceneFindings found;
    std::vector<std::string> warnings;  ///< of the run that made the record
    std::vector<FileFingerprint> files; ///< each file of `pair`, once
    std::string writer;                 ///< program and version
};

} // namespace rasterhost
