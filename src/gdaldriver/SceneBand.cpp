#include "gdaldriver/SceneBand.h"

#include "gdaldriver/SceneDataset.h"

namespace gdaldriver {

SceneBand::SceneBand(SceneDataset& dataset, int number, GDALDataType type, GDALRasterBand& like)
    : described(like) {
    poDS = &dataset;
    nBand = number;
    eDataType = type;
    eAccess = GA_ReadOnly;
    nBlockXSize = nBlockYSize = SceneDataset::blockSize;
    sDescription = like.GetDescription(); // not stored in files
}

SceneDataset& SceneBand::GetScene() const { return *static_cast<SceneDataset*>(poDS); }

/// Overviews in files have no mask, so they are not used when the scene has one.
int SceneBand::CountInFiles() { return GetScene().GetMask() ? 0 : GDALPamRasterBand::GetOverviewCount(); }

int SceneBand::GetOverviewCount() {
    const int inFiles = CountInFiles();
    return inFiles > 0 ? inFiles : GetScene().CountLevels();
}

GDALRasterBand* SceneBand::GetOverview(int number) {
    if (CountInFiles() > 0) return GDALPamRasterBand::GetOverview(number);
    if (number < 0 || number >= GetScene().CountLevels()) return nullptr;
    return GetScene().GetLevel(number).GetRasterBand(nBand);
}

int SceneBand::GetMaskFlags() {
    return GetScene().GetMask() ? GMF_PER_DATASET : GDALPamRasterBand::GetMaskFlags();
}

GDALRasterBand* SceneBand::GetMaskBand() {
    GDALRasterBand* mask = GetScene().GetMask();
    return mask ? mask : GDALPamRasterBand::GetMaskBand();
}

CPLErr SceneBand::IReadBlock(int column, int row, void* block) {
    return GetScene().ReadBlock(nBand, column, row, block);
}

CPLErr SceneBand::IRasterIO(GDALRWFlag flag, int column, int row, int columns, int rows, void* samples,
                            int outColumns, int outRows, GDALDataType type, GSpacing pixelSpace,
                            GSpacing lineSpace, GDALRasterIOExtraArg* extra) {
    using ReadPath = SceneDataset::ReadPath;
    if (flag == GF_Read) {
        const hostkit::PixelRect rect = RectOf(column, row, columns, rows);
        const ReadPath path =
            GetScene().ChooseReadPath(rect, 1, columns != outColumns || rows != outRows, extra);
        if (path == ReadPath::PastCache)
            return GetScene().ReadPastCache(rect, {&nBand, 1}, samples, type, pixelSpace, lineSpace, 0);
        if (path == ReadPath::ThroughCache && GetScene().FillCache(nBand, rect) != CE_None) return CE_Failure;
    }
    return GDALPamRasterBand::IRasterIO(flag, column, row, columns, rows, samples, outColumns, outRows, type,
                                        pixelSpace, lineSpace, extra);
}

SceneMask::SceneMask(SceneDataset& dataset) : scene(dataset) {
    nRasterXSize = dataset.GetRasterXSize();
    nRasterYSize = dataset.GetRasterYSize();
    eDataType = GDT_Byte;
    eAccess = GA_ReadOnly;
    nBlockXSize = nBlockYSize = SceneDataset::blockSize;
}

int SceneMask::GetOverviewCount() { return scene.CountLevels(); }

GDALRasterBand* SceneMask::GetOverview(int number) {
    return number < 0 || number >= scene.CountLevels() ? nullptr : scene.GetLevel(number).GetMask();
}

CPLErr SceneMask::IReadBlock(int column, int row, void* block) {
    return scene.ReadBlock(0, column, row, block);
}

} // namespace gdaldriver
