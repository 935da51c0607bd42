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
    std::uint32_t bitDepth = 8; ///< bits that the samples use
    std::array<double, 2> pixelSize{1.0, 1.0};
};

/// A GeoTIFF file with a mask, whose upper left corner is at (0, 0).
class PlainFile {
public:
    /// Creates a file. Null with an item; the functions below return false with an item.
    [[nodiscard]] static std::unique_ptr<PlainFile> Create(const std::string& name, const PlainShape& shape,
                                                           Status& status);
    /// Opens a file that Create made, to write into it again.
    [[nodiscard]] static std::unique_ptr<PlainFile> Open(const std::string& name, Status& status);
    PlainFile(const PlainFile&) = delete;
    PlainFile& operator=(const PlainFile&) = delete;
    ~PlainFile();

    /// Writes all of an image, with its upper left pixel at a position.
    [[nodiscard]] bool Write(imagery::RowSource& image, std::uint32_t column, std::uint32_t row,
                             Status& status);
    /// Replaces the mask by that of an image of the same size.
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
