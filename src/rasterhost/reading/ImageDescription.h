#pragma once

#include "host/RasterInfo.h"
#include "imagery/ZeroCollar.h"
#include "rasterhost/reading/SourceBand.h"

#include <ogr_spatialref.h>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace rasterhost {

/// What is known of an image without a file open: shared by all that read it, and never changed.
struct ImageDescription {
    /// Without georeferencing, or when it is not north up: pixels of size 1 and the upper left corner at the
    /// origin.
    KOVA::Tessara::Pixmere::RasterInfo info;
    std::vector<SourceBand> bands;
    SampleOptions options;
    std::vector<std::string> files;                    ///< as the request names them, each once
    std::map<std::string, int> transparency;           ///< by these the band that tells it, 0 for none
    std::optional<std::array<double, 6>> geoTransform; ///< none without a position, or by control points
    bool hasControlPoints = false;                     ///< and no geotransform
    bool isNorthUp = true;                             ///< rows and columns along the map's axes, downward
    OGRSpatialReference projection;                    ///< may be empty
    /// Pixels that count as no data beside what is declared; null without any.
    std::shared_ptr<const imagery::ZeroCollar> collar;

    /// The first file, and how many more there are: for messages.
    [[nodiscard]] std::string GetName() const;
    /// True when it has a position, by a geotransform or by control points.
    [[nodiscard]] bool IsGeoreferenced() const { return geoTransform || hasControlPoints; }
    /// Bytes of a row of the first file's blocks, which are read again and again when the cache cannot hold
    /// them.
    [[nodiscard]] std::uint64_t GetBlockRowBytes() const;
    /// True when the bands of another image lie where those of this one do, pixel by pixel.
    [[nodiscard]] bool SharesGridWith(const ImageDescription& other) const;
    /// True when a place is that of this image.
    [[nodiscard]] bool IsAt(const std::optional<std::array<double, 6>>& place,
                            const OGRSpatialReference& reference) const;
    /// Bits that the samples use: what the files declare for 16-bit samples, else all.
    [[nodiscard]] std::uint32_t GetBitDepth() const;
    /// True when some samples are declared, or were found, not to be data.
    [[nodiscard]] bool MayLackData() const;
    /// True when the files tell by a mask, or by zeros, where there is no data.
    [[nodiscard]] bool DeclaresZerosOrMask() const;
    /// The value that means no data in the first band that has one.
    [[nodiscard]] std::optional<int> GetNoDataValue() const;
    /// The same image with those of its bands that `order`, positions counted from 0, names, in that order.
    [[nodiscard]] ImageDescription WithBands(const std::vector<std::size_t>& order) const;
};

/// True when two projections mean the same; an empty one equals any.
[[nodiscard]] bool IsSameProjection(const OGRSpatialReference& a, const OGRSpatialReference& b);

} // namespace rasterhost
