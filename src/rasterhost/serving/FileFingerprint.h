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

/// Shows whether an input has changed: what is opened by a name as GDAL takes it.
struct FileFingerprint {
    std::string name; ///< as the request has it
    std::uint32_t columns = 0, rows = 0, bands = 0;
    std::string type; ///< GDAL's name of the samples' type; one for each band, with commas, where they differ
    std::optional<std::array<double, 6>> geoTransform;
    std::string projection; ///< WKT; may be empty
    std::uint32_t controlPoints = 0;
    std::uint64_t bytes = 0; ///< of all its files but statistics and overviews
    /// A number of 64 bits of what is in these files, in 16 digits; empty where they are not files of the
    /// file system's.
    std::string content;
    /// The band that was found to tell transparency, counted from 1; 0 for none.
    std::uint32_t transparency = 0;
};

/// A 64-bit number that differs when one byte differs, and almost certainly when several do.
class ContentNumber {
public:
    void Add(const unsigned char* bytes, std::size_t count);
    [[nodiscard]] std::string GetDigits() const; ///< 16 of them

private:
    void AddWord(std::uint64_t word);

    std::uint64_t number = 0xCBF29CE484222325u;
};

/// WKT that loses nothing; empty for null, and for one that is empty.
[[nodiscard]] std::string ToWkt(const OGRSpatialReference* reference);

/// All but the transparency, of an open file; its content only when that is asked for, since all of it is
/// read.
[[nodiscard]] FileFingerprint TakeFingerprint(const std::string& name, GDALDataset& dataset,
                                              bool withContent);

/// Sixteen digits that change when a file that one of these inputs consists of gets another size or another
/// time of writing. No pixel is read; a name that nothing opens counts by itself.
[[nodiscard]] std::string TakeState(const std::vector<std::string>& names);

/// Compares a file with what it was. False with an item when size, bands, type or grid differ; a warning when
/// only its bytes do. `key` is that of the record.
[[nodiscard]] bool CheckFingerprint(const FileFingerprint& before, const FileFingerprint& now,
                                    const std::string& key, const Warn& warn, Status& status);

} // namespace rasterhost
