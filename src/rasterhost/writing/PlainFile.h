#pragma once

#include "imagery/RowSource.h"
#include "rasterhost/requests/HostStatus.h"

#include <array>
#include <memory>
#include <string>

class GDALDataset;

namespace rasterhost {

class GdalErrors;

struct PlainShape {
    std::uint32_t columns = 0, rows = 0, bands = 0;
    std::uint32_t bits = 8;     ///< of a sample, 8 or 16
    std::uint32_t bitDepth = 8; ///< of those that are used
    std::array<double, 2> pixelSize{1.0, 1.0};
};

/// A GeoTIFF file with a mask that tells where there is data, its upper left corner at (0, 0).
class PlainFile {
public:
    /// Null with an item, as below.
    [[nodiscard]] static std::unique_ptr<PlainFile> Create(const std::string& name, const PlainShape& shape,
                                                           Status& status);
    /// A file that Create made, to write into again.
    [[nodiscard]] static std::unique_ptr<PlainFile> Open(const std::string& name, Status& status);
    PlainFile(const PlainFile&) = delete;
    PlainFile& operator=(const PlainFile&) = delete;
    ~PlainFile();

    /// Writes all of an image with its upper left pixel at a place.
    [[nodiscard]] bool Write(imagery::RowSource& image, std::uint32_t column, std::uint32_t row,
                             Status& status);
    /// Replaces the mask by where an image of the same size has data.
    [[nodiscard]] bool WriteMask(imagery::RowSource& image, Status& status);
    [[nodiscard]] bool Close(Status& status);

private:
    explicit PlainFile(std::string fileName) : name(std::move(fileName)) {}
    bool WriteRows(imagery::RowSource& image, std::uint32_t column, std::uint32_t row, bool maskOnly,
                   Status& status);
    bool Refuse(const GdalErrors& errors, Status& status) const;

    std::string name;
    GDALDataset* dataset = nullptr;
};

} // namespace rasterhost
