#pragma once

#include "rasterhost/requests/HostStatus.h"
#include "rasterhost/scene/PlaceImage.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class GDALDataset;
class OGRSpatialReference;

namespace rasterhost {

/// What identifies an input, so that a change is noticed. An input is whatever GDAL opens by one name.
struct FileFingerprint {
    std::string name; ///< as in the request
    std::uint32_t columns = 0, rows = 0, bands = 0;
    std::string type; ///< GDAL's name of the sample type; if types differ, one per band, separated by commas
    std::optional<std::array<double, 6>> geoTransform;
    std::string projection; ///< WKT; may be empty
    std::uint32_t controlPoints = 0;
    std::uint64_t bytes = 0; ///< of all its files except statistics and overviews
    /// A 64-bit number of the contents of these files, in 16 hexadecimal digits; empty when they are not
    /// files of the file system.
    std::string content;
    /// The transparency band that was found, counted from 1; 0 for none.
    std::uint32_t transparency = 0;
};

/// A 64-bit number that always differs when one byte differs, and almost certainly when several do.
class ContentNumber {
public:
    void Add(const unsigned char* bytes, std::size_t count);
    [[nodiscard]] std::string GetDigits() const; ///< 16 hexadecimal digits

private:
    void AddWord(std::uint64_t word);

    std::uint64_t number = 0xCBF29CE484222325u;
};

/// WKT without loss; empty for null and for an empty reference.
[[nodiscard]] std::string ToWkt(const OGRSpatialReference* reference);

/// The fingerprint of an open file, without the transparency band. The content is included only on request,
/// since all of it must be read.
[[nodiscard]] FileFingerprint TakeFingerprint(const std::string& name, GDALDataset& dataset,
                                              bool withContent);

/// Sixteen digits that change when the size or the modification time of any file of these inputs changes. No
/// pixel is read. A name that cannot be opened counts by its text.
[[nodiscard]] std::string TakeState(const std::vector<std::string>& names);

/// Compares a file with its earlier fingerprint. False, with an item, when size, bands, type or grid differ;
/// only a warning when just the bytes differ. `key` names it in the description.
[[nodiscard]] bool CheckFingerprint(const FileFingerprint& before, const FileFingerprint& now,
                                    const std::string& key, const Warn& warn, Status& status);

} // namespace rasterhost
