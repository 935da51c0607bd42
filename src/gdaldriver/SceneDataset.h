#pragma once

#include "gdaldriver/SceneBand.h"
#include "rasterhost/serving/SharpenedDataset.h"

#include <gdal_pam.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace gdaldriver {

/// Columns and rows of an image, or of its blocks, as GDAL counts them.
[[nodiscard]] inline hostkit::PixelRect RectOf(int column, int row, int columns, int rows) {
    const auto number = [](int value) { return static_cast<std::uint32_t>(value); };
    return {number(column), number(row), number(column + columns), number(row + rows)};
}

/// Samples of one band of a block, within a larger rectangle.
struct BlockSamples {
    const unsigned char* first;
    std::size_t rowStride, rowBytes, rows, blockRowBytes;

    void CopyTo(void* block) const;
};

/// A sharpened scene, or one of its coarser levels, as a GDAL dataset: read-only, in blocks of 256 x 256. Any
/// number of them may be open and read in parallel. One thread at a time may read a dataset, but not always
/// the same thread.
class SceneDataset final : public GDALPamDataset {
public:
    static constexpr int blockSize = 256;

    /// Opens a description by name. Null with an error reported.
    static std::unique_ptr<SceneDataset> OpenDescription(const char* name, GDALOpenInfo& how);

    ~SceneDataset() override;

    CPLErr GetGeoTransform(double* transform) override { return description->GetGeoTransform(transform); }
    const OGRSpatialReference* GetSpatialRef() const override { return description->GetSpatialRef(); }
    int GetGCPCount() override { return description->GetGCPCount(); }
    const GDAL_GCP* GetGCPs() override { return description->GetGCPs(); }
    const OGRSpatialReference* GetGCPSpatialRef() const override { return description->GetGCPSpatialRef(); }
    CPLErr SetGeoTransform(double*) override { return RefuseChange(); }
    CPLErr SetSpatialRef(const OGRSpatialReference*) override { return RefuseChange(); }
    CPLErr SetGCPs(int, const GDAL_GCP*, const OGRSpatialReference*) override { return RefuseChange(); }
    CPLErr CreateMaskBand(int) override { return RefuseChange(); }
    /// The description, the files that belong to it, and the inputs.
    char** GetFileList() override;

    /// Fuses a block into `block`, and puts the other bands and the mask that result from it into GDAL's
    /// cache. `asked` is a band counted from 1, or 0 for the mask.
    CPLErr ReadBlock(int asked, int column, int row, void* block);

    /// How a read is served: block by block, from blocks that are all made first, or without blocks.
    enum class ReadPath { ByBlocks, ThroughCache, PastCache };
    /// The path for reading this many bands of a rectangle.
    [[nodiscard]] ReadPath ChooseReadPath(const hostkit::PixelRect& rect, int bands, bool isResampled,
                                          const GDALRasterIOExtraArg* extra) const;
    /// Fills the cache with the missing blocks of a rectangle, several at a time. `asked` as above.
    CPLErr FillCache(int asked, const hostkit::PixelRect& rect);
    /// Fuses a rectangle directly into the caller's memory, in samples of any type.
    CPLErr ReadPastCache(const hostkit::PixelRect& rect, std::span<const int> bandMap, void* samples,
                         GDALDataType type, GSpacing pixelSpace, GSpacing lineSpace, GSpacing bandSpace);

    /// The number of visible coarser levels, each with half the columns and rows of the one before.
    [[nodiscard]] int CountLevels() const { return hidesLevels ? 0 : static_cast<int>(coarser.size()); }
    [[nodiscard]] SceneDataset& GetLevel(int number) { return *coarser[static_cast<std::size_t>(number)]; }
    /// The mask of all bands; null when none is needed.
    [[nodiscard]] GDALRasterBand* GetMask() { return mask.get(); }

protected:
    CPLErr IRasterIO(GDALRWFlag flag, int column, int row, int columns, int rows, void* samples,
                     int outColumns, int outRows, GDALDataType type, int bandCount, int* bandMap,
                     GSpacing pixelSpace, GSpacing lineSpace, GSpacing bandSpace,
                     GDALRasterIOExtraArg* extra) override;
    CPLErr IBuildOverviews(const char* resampling, int overviews, const int* factors, int listed,
                           const int* bandList, GDALProgressFunc progress, void* progressData,
                           CSLConstList options) override;

private:
    using Scene = std::shared_ptr<const rasterhost::SharpenedDataset>;

    SceneDataset(Scene sharpened, std::shared_ptr<GDALDataset> described, unsigned levelNumber);

    /// Fuses a rectangle of this level. False with items.
    [[nodiscard]] bool Fuse(const hostkit::PixelRect& rect, std::span<const std::uint32_t> wanted,
                            const rasterhost::WindowTarget& target, rasterhost::Status& status) const;
    /// The same into samples of any type.
    [[nodiscard]] bool FuseAs(GDALDataType type, const hostkit::PixelRect& rect,
                              std::span<const std::uint32_t> wanted, const rasterhost::WindowTarget& target,
                              rasterhost::Status& status) const;
    /// The same with the requested number of threads.
    [[nodiscard]] bool FuseSideBySide(GDALDataType type, const hostkit::PixelRect& rect,
                                      std::span<const std::uint32_t> wanted,
                                      const rasterhost::WindowTarget& target,
                                      rasterhost::Status& status) const;
    /// Receives a block of a band, or of the mask as band 0.
    using TakeBlock =
        std::function<void(int band, std::uint32_t column, std::uint32_t row, const BlockSamples& samples)>;
    /// Memory for samples and mask, which is reused: allocating it for every block would cost as much as
    /// filling it.
    struct Scratch {
        std::vector<unsigned char> samples, valid;
    };
    [[nodiscard]] bool MakeBlocks(const hostkit::PixelRect& blocks, bool isMaskAlone, Scratch& scratch,
                                  const TakeBlock& take);
    [[nodiscard]] GDALRasterBand& GetBandOrMask(int number) {
        return number == 0 ? *mask : *GetRasterBand(number);
    }
    [[nodiscard]] GDALDataType GetType() const { return scene->GetBits() == 8 ? GDT_Byte : GDT_UInt16; }
    void TakeMetadata();

    Scene scene;
    /// Position, metadata and band descriptions in a form that GDAL can return.
    std::shared_ptr<GDALDataset> description;
    unsigned level;
    std::unique_ptr<GDALRasterBand> mask;
    std::vector<std::unique_ptr<SceneDataset>> coarser;
    bool hidesLevels = false;
    Scratch ofOneBlock;
};

} // namespace gdaldriver
