#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace demo {

/// An 8-bit image in memory: one plane per band, rows from the top, with its position on the ground.
struct Image {
    int columns = 0;
    int rows = 0;
    std::vector<std::vector<std::uint8_t>> bands; ///< each columns * rows samples
    std::array<double, 6> geoTransform{0, 1, 0, 0, 0, 1};
    std::string projection; ///< WKT

    /// An image at the same position with other pixels, `step` times as wide and high.
    [[nodiscard]] Image Like(int newColumns, int newRows, std::size_t bandCount, double step) const;
    [[nodiscard]] std::uint8_t At(std::size_t band, int row, int column) const {
        return bands[band][Index(row, column)];
    }
    [[nodiscard]] std::size_t Index(int row, int column) const {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
               static_cast<std::size_t>(column);
    }
};

/// Reads all bands. Throws std::runtime_error that names the file.
[[nodiscard]] Image ReadImage(const std::string& file);

/// Writes a GeoTIFF. Throws std::runtime_error that names the file.
void WriteGeoTiff(const Image& image, const std::string& file);

/// Writes a PNG of one or three bands. Throws std::runtime_error that names the file.
void WritePng(const Image& image, const std::string& file);

} // namespace demo
