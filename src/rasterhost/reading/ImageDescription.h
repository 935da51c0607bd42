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

/// What is known of an image without an open file. Shared by all that read the image, and never changed.
struct ImageDescription {
    /// If the image is not georeferenced, or not north up: pixels of size 1 and the upper left corner at the
    /// origin.
    KOVA::Tessara::Pixmere::RasterInfo info;
    std::vector<SourceBand> bands;
    SampleOptions options;
    std::vector<std::string> files;                    ///< as named in the request, each once
    std::map<std::string, int> transparency;           ///< per file, the number of its transparency band; 0
                                                       ///< for none
    std::optional<std::array<double, 6>> geoTransform; ///< empty without a position, or when it comes from
                                                       ///< control points
    bool hasControlPoints = false;                     ///< control points instead of a geotransform
    bool isNorthUp = true;                             ///< rows and columns run along the map's axes, rows
                                                       ///< downward
    OGRSpatialReference projection;                    ///< may be empty
    /// Pixels without data in addition to those that are declared; null for none.
    std::shared_ptr<const imagery::ZeroCollar> collar;

    /// For messages: the first file, and the number of others.
    [[nodiscard]] std::string GetName() const;
    /// True when it has a position, by a geotransform or by control points.
    [[nodiscard]] bool IsGeoreferenced() const { return geoTransform || hasControlPoints; }
    /// Bytes of a row of blocks of the first file. If the cache cannot hold them, they are read again and
    /// again.
    [[nodiscard]] std::uint64_t GetBlockRowBytes() const;
    /// The same for the masks of the files.
    [[nodiscard]] std::uint64_t GetMaskRowBytes() const;
    /// True when the bands of another image have the same pixels in the same position.
    [[nodiscard]] bool SharesGridWith(const ImageDescription& other) const;
    /// True when a position is that of this image.
    [[nodiscard]] bool IsAt(const std::optional<std::array<double, 6>>& place,
                            const OGRSpatialReference& reference) const;
    /// Bits that the samples use: as declared by the files for 16-bit samples, else all.
    [[nodiscard]] std::uint32_t GetBitDepth() const;
    /// True when some samples are declared, or were found, to be no data.
    [[nodiscard]] bool MayLackData() const;
    /// True when the files mark no data by a mask or by zeros.
    [[nodiscard]] bool DeclaresZerosOrMask() const;
    /// The value for no data of the first band that has one.
    [[nodiscard]] std::optional<int> GetNoDataValue() const;
    /// The same image with the bands at these positions, counted from 0, in this order.
    [[nodiscard]] ImageDescription WithBands(const std::vector<std::size_t>& order) const;
};

/// True when two projections are equivalent. An empty one is equivalent to any.
[[nodiscard]] bool IsSameProjection(const OGRSpatialReference& a, const OGRSpatialReference& b);

} // namespace rasterhost
