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

/// Samples of a block, as they lie in a larger rectangle of one band.
struct BlockSamples {
    const unsigned char* first;
    std::size_t rowStride, rowBytes, rows, blockRowBytes;

    void CopyTo(void* block) const;
};

/// A sharpened scene, or one of its coarser levels, as GDAL has images: read-only, in blocks of 256 x 256.
/// Any number of these may be open and read side by side; each is read by one thread at a time, which need
/// not stay the same.
class SceneDataset final : public GDALPamDataset {
public:
    static constexpr int blockSize = 256;

    /// Opens a description by its name. Null with an error reported.
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
    /// The description, what belongs to it, and the inputs.
    char** GetFileList() override;

    /// Fuses a block and puts it where it is asked for, and into the cache what else came of it: the other
    /// bands and the mask. `asked` is a band counted from 1, or 0 for the mask.
    CPLErr ReadBlock(int asked, int column, int row, void* block);

    /// How a read is served: block by block, by blocks that are all made first, or without any.
    enum class Way { ByBlocks, ThroughCache, PastCache };
    /// That for this many bands of a rectangle.
    [[nodiscard]] Way ChooseWay(const hostkit::PixelRect& rect, int bands, bool isResampled,
                                const GDALRasterIOExtraArg* extra) const;
    /// Puts the blocks of a rectangle into the cache that are not there, as many at a time as is quick.
    /// `asked` as above.
    CPLErr FillCache(int asked, const hostkit::PixelRect& rect);
    /// Fuses a rectangle to where it is wanted, in samples of any type.
    CPLErr ReadPastCache(const hostkit::PixelRect& rect, std::span<const int> bandMap, void* samples,
                         GDALDataType type, GSpacing pixelSpace, GSpacing lineSpace, GSpacing bandSpace);

    /// The coarser levels, each with half the columns and rows of the one before, that show.
    [[nodiscard]] int CountLevels() const { return hidesLevels ? 0 : static_cast<int>(coarser.size()); }
    [[nodiscard]] SceneDataset& GetLevel(int number) { return *coarser[static_cast<std::size_t>(number)]; }
    /// The mask of all bands; null where they need none.
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

    /// Makes a rectangle of this level. False with items.
    [[nodiscard]] bool Fuse(const hostkit::PixelRect& rect, std::span<const std::uint32_t> wanted,
                            const rasterhost::WindowTarget& target, rasterhost::Status& status) const;
    /// The same, into samples of any type.
    [[nodiscard]] bool FuseAs(GDALDataType type, const hostkit::PixelRect& rect,
                              std::span<const std::uint32_t> wanted, const rasterhost::WindowTarget& target,
                              rasterhost::Status& status) const;
    /// The same by the threads that were asked for.
    [[nodiscard]] bool FuseSideBySide(GDALDataType type, const hostkit::PixelRect& rect,
                                      std::span<const std::uint32_t> wanted,
                                      const rasterhost::WindowTarget& target,
                                      rasterhost::Status& status) const;
    /// Takes a block of a band, or of the mask as band 0.
    using TakeBlock =
        std::function<void(int band, std::uint32_t column, std::uint32_t row, const BlockSamples& samples)>;
    /// Room for samples and mask. To be given it anew for every block would cost as much as to fill it.
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
    /// Position, metadata and what is known of the bands, in a form that GDAL can tell it in.
    std::shared_ptr<GDALDataset> description;
    unsigned level;
    std::unique_ptr<GDALRasterBand> mask;
    std::vector<std::unique_ptr<SceneDataset>> coarser;
    bool hidesLevels = false;
    Scratch ofOneBlock;
};

} // namespace gdaldriver
