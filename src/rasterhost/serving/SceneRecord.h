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

/// The fused image of a scene, whoever reads it.
struct SceneOutput {
    std::uint32_t columns = 0, rows = 0; ///< of the part asked for
    std::uint32_t bits = 8;              ///< of a sample, 8 or 16
    std::uint32_t bitDepth = 8;          ///< of those that are used
    /// Of the part; none where pan has no position, or one by control points.
    std::optional<std::array<double, 6>> geoTransform;
    std::string projection;              ///< WKT; may be empty
    std::vector<std::string> bandNames;  ///< of the fused bands; each may be empty
    std::vector<std::string> colours;    ///< GDAL's names, likewise
    std::optional<std::uint32_t> noData; ///< the value of pixels without data; none for alpha or a mask
    bool hasAlpha = false;               ///< a last band beside the fused ones
};

/// Everything that says how a scene is fused; nothing is left to be found in its pixels. The content of a
/// ".pansharp" file.
struct SceneRecord {
    /// Without `measureShift` and `findScale`, and with a bit depth for 16-bit samples that are not scaled.
    PairRequest pair;
    /// With a method as the plug-in writes it; with weights, or blur and gains, where the method has them.
    FusionRequest fusion;
    SceneOutput output;
    SceneFindings found;
    std::vector<std::string> warnings;  ///< of the run that found it
    std::vector<FileFingerprint> files; ///< each file of `pair` once
    std::string writer;                 ///< program and version
};

} // namespace rasterhost
