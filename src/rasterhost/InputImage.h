#pragma once

#include "hostkit/ImageSource.h"
#include "rasterhost/HostStatus.h"
#include "rasterhost/Requests.h"
#include "rasterhost/SourceBand.h"
#include "rasterhost/ZeroCollar.h"

#include <ogr_spatialref.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace rasterhost {

/// Bands of one size and position, taken from one file or several.
class InputImage final : public hostkit::ImageSource {
public:
    /// Opens the files and checks that the bands can be served: 8 or 16 bits, all of one size, depth,
    /// position and projection, north up. Signed 16-bit samples are served as they are and have to be 0 or
    /// more. A file named without a band gives all its bands but transparency. Null with an item that names
    /// the file. `role` is "pan" or the like.
    [[nodiscard]] static std::unique_ptr<InputImage> Open(const std::vector<InputBand>& inputs,
                                                          const char* role,
                                                          const SampleOptions& sampleOptions, Status& status);
    InputImage(const InputImage&) = delete;
    InputImage& operator=(const InputImage&) = delete;
    ~InputImage() override;

    /// Without georeferencing, or when it is not north up: pixels of size 1 and the upper left corner at the
    /// origin.
    [[nodiscard]] const RasterInfo& GetInfo() const override { return info; }
    /// By a geotransform or by control points.
    [[nodiscard]] bool IsGeoreferenced() const { return geoTransform || hasControlPoints; }
    /// True when columns and rows run along the map's axes, rows downward; without a position too.
    [[nodiscard]] bool IsNorthUp() const { return isNorthUp; }
    [[nodiscard]] const std::optional<std::array<double, 6>>& GetGeoTransform() const { return geoTransform; }
    [[nodiscard]] const OGRSpatialReference& GetProjection() const { return projection; } ///< may be empty
    [[nodiscard]] const std::vector<SourceBand>& GetBands() const { return bands; }
    [[nodiscard]] const SampleOptions& GetOptions() const { return options; }
    /// The first file, and how many more there are: for messages.
    [[nodiscard]] std::string GetName() const override;
    /// Every file that an input consists of, as GDAL lists them.
    [[nodiscard]] std::vector<std::string> GetFiles() const;
    /// Bytes of a row of the file's blocks, which are read again and again when the cache cannot hold them.
    [[nodiscard]] std::uint64_t GetBlockRowBytes() const;

    /// True when the bands of another image lie where those of this one do, pixel by pixel.
    [[nodiscard]] bool SharesGridWith(const InputImage& other) const;
    /// Puts the bands into another order and leaves out those that `order`, positions counted from 0, does
    /// not name.
    void Reorder(const std::vector<std::size_t>& order);

    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, unsigned char* out, Status& status) override;
    [[nodiscard]] bool ReadValid(const hostkit::PixelRect& rect, const unsigned char* samples,
                                 unsigned char* valid, Status& status) override;

    /// Bits that the samples use: what the files declare for 16-bit samples, else all.
    [[nodiscard]] std::uint32_t GetBitDepth() const;

    [[nodiscard]] bool MayLackData() const override;
    /// True when the files tell by a mask, or by zeros, where there is no data.
    [[nodiscard]] bool DeclaresZerosOrMask() const;
    /// Pixels to count as no data beside what is declared.
    void SetCollar(std::unique_ptr<ZeroCollar> found) { collar = std::move(found); }
    [[nodiscard]] const ZeroCollar* GetCollar() const { return collar.get(); }
    /// The value that means no data in the first band that has one.
    [[nodiscard]] std::optional<int> GetNoDataValue() const;

private:
    InputImage() = default;
    GDALDataset* OpenFile(const InputBand& input, const char* role, Status& status);
    bool AddBands(const InputBand& input, GDALDataset& dataset, const char* role, Status& status);
    bool Describe(const char* role, Status& status);
    bool CheckBand(const SourceBand& source, const char* role, Status& status) const;
    bool Georeference(Status& status);
    [[nodiscard]] bool IsAtPlaceOfFirst(const GDALDataset& file) const;

    struct CloseDataset {
        void operator()(GDALDataset* dataset) const;
    };
    struct OpenFileEntry {
        std::string name;
        std::unique_ptr<GDALDataset, CloseDataset> dataset;
    };

    std::vector<OpenFileEntry> files;
    std::vector<SourceBand> bands;
    SampleOptions options;
    RasterInfo info;
    std::unique_ptr<ZeroCollar> collar; ///< null without one
    std::optional<std::array<double, 6>> geoTransform;
    bool hasControlPoints = false;
    bool isNorthUp = true;
    OGRSpatialReference projection;
};

/// True when two projections mean the same; an empty one equals any.
[[nodiscard]] bool IsSameProjection(const OGRSpatialReference& a, const OGRSpatialReference& b);

} // namespace rasterhost
