#include "rasterhost/reading/ImageDescription.h"

#include "fundament/Text.h"
#include "hostkit/SampleBlock.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;

std::string ImageDescription::GetName() const {
    return files.size() == 1
               ? "'" + files.front() + "'"
               : FormatString("'%s' and %d more", files.front().c_str(), static_cast<int>(files.size()) - 1);
}

std::uint64_t ImageDescription::GetBlockRowBytes() const {
    return std::uint64_t{info.cols} * bands.front().blockRows * hostkit::PixelBytes(info);
}

std::uint64_t ImageDescription::GetMaskRowBytes() const {
    std::uint64_t pixelBytes = 0; // a file has one mask
    std::set<std::string> masked;
    for (const SourceBand& band : bands)
        if (band.mask != MaskKind::None && masked.insert(band.file).second)
            pixelBytes += band.mask == MaskKind::Transparency ? info.bitsPerBand / 8 : 1;
    return std::uint64_t{info.cols} * bands.front().blockRows * pixelBytes;
}

bool ImageDescription::SharesGridWith(const ImageDescription& other) const {
    return info.cols == other.info.cols && info.rows == other.info.rows &&
           hasControlPoints == other.hasControlPoints &&
           IsAt(other.geoTransform, other.hasControlPoints ? OGRSpatialReference() : other.projection);
}

bool ImageDescription::IsAt(const std::optional<std::array<double, 6>>& place,
                            const OGRSpatialReference& reference) const {
    bool agrees = place.has_value() == geoTransform.has_value() && IsSameProjection(projection, reference);
    // Georeferencing changes in its last digits when it is written and read again.
    for (std::size_t i = 0; agrees && place && i < place->size(); ++i)
        agrees = std::fabs((*place)[i] - (*geoTransform)[i]) <=
                 1e-6 * std::hypot((*geoTransform)[1], (*geoTransform)[4]);
    return agrees;
}

std::uint32_t ImageDescription::GetBitDepth() const {
    if (options.scale) return info.bitsPerBand;
    std::uint32_t depth = 0;
    for (const SourceBand& source : bands)
        depth = std::max(depth, source.bits);
    return depth;
}

bool ImageDescription::MayLackData() const {
    return collar || std::any_of(bands.begin(), bands.end(), [](const SourceBand& source) {
               return source.noData || source.mask != MaskKind::None;
           });
}

bool ImageDescription::DeclaresZerosOrMask() const {
    return std::any_of(bands.begin(), bands.end(), [](const SourceBand& source) {
        return source.noData == 0 || source.mask != MaskKind::None;
    });
}

std::optional<int> ImageDescription::GetNoDataValue() const {
    for (const SourceBand& source : bands)
        if (source.noData) return source.noData;
    return std::nullopt;
}

ImageDescription ImageDescription::WithBands(const std::vector<std::size_t>& order) const {
    ImageDescription description = *this;
    description.bands.clear();
    for (const std::size_t position : order)
        description.bands.push_back(bands[position]);
    description.info.bandsPerPixel = static_cast<std::uint32_t>(order.size());
    return description;
}

bool IsSameProjection(const OGRSpatialReference& a, const OGRSpatialReference& b) {
    if (a.IsEmpty() || b.IsEmpty()) return true;
    const char* const options[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES", "CRITERION=EQUIVALENT",
                                   nullptr};
    return a.IsSame(&b, options) != 0;
}

} // namespace rasterhost
