#pragma once

#include "gdaldriver/StatusErrors.h"

#include <gdal_pam.h>

namespace gdaldriver {

class SceneDataset;

/// A band of a sharpened scene, or of a coarser level of it.
class SceneBand final : public GDALPamRasterBand {
public:
    /// `like` gives name, colour and so on, and must outlive this.
    SceneBand(SceneDataset& dataset, int number, GDALDataType type, GDALRasterBand& like);

    GDALColorInterp GetColorInterpretation() override { return described.GetColorInterpretation(); }
    double GetNoDataValue(int* isThere) override { return described.GetNoDataValue(isThere); }
    double GetOffset(int* isThere) override { return described.GetOffset(isThere); }
    double GetScale(int* isThere) override { return described.GetScale(isThere); }
    CPLErr SetColorInterpretation(GDALColorInterp) override { return RefuseChange(); }
    CPLErr SetNoDataValue(double) override { return RefuseChange(); }
    CPLErr DeleteNoDataValue() override { return RefuseChange(); }
    CPLErr SetOffset(double) override { return RefuseChange(); }
    CPLErr SetScale(double) override { return RefuseChange(); }
    CPLErr CreateMaskBand(int) override { return RefuseChange(); }
    /// Overviews in files come first; without any, the coarser levels are the overviews.
    int GetOverviewCount() override;
    GDALRasterBand* GetOverview(int number) override;
    int GetMaskFlags() override;
    GDALRasterBand* GetMaskBand() override;

protected:
    CPLErr IReadBlock(int column, int row, void* block) override;
    CPLErr IRasterIO(GDALRWFlag flag, int column, int row, int columns, int rows, void* samples,
                     int outColumns, int outRows, GDALDataType type, GSpacing pixelSpace, GSpacing lineSpace,
                     GDALRasterIOExtraArg* extra) override;

private:
    [[nodiscard]] SceneDataset& GetScene() const;
    [[nodiscard]] int CountInFiles();

    GDALRasterBand& described;
};

/// The mask of a scene or of a coarser level: 255 with data, 0 without.
class SceneMask final : public GDALRasterBand {
public:
    explicit SceneMask(SceneDataset& dataset);

    int GetOverviewCount() override;
    GDALRasterBand* GetOverview(int number) override;

protected:
    CPLErr IReadBlock(int column, int row, void* block) override;

private:
    SceneDataset& scene;
};

} // namespace gdaldriver
