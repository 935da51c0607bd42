#include "Scene.h"

#include "support/MethodOracle.h"

#include <random>
#include <stdexcept>

namespace scene {

namespace {

testfiles::FileShape Shape(int columns, int rows, int bands, int bits, const Placement& placement) {
    const auto type = bits == 8 ? GDT_Byte : bits == 16 ? GDT_UInt16 : GDT_Float32;
    testfiles::Transform transform;
    if (placement.pixelSize > 0.0) transform = testfiles::Grid(placement.pixelSize, placement.x, placement.y);
    return {
        columns,   rows,
        bands,     type,
        transform, placement.epsg > 0 ? "EPSG:" + std::to_string(placement.epsg) : "",
        {},        {"PHOTOMETRIC=MINISBLACK", "ALPHA=NO", "SPARSE_OK=TRUE"}}; // else a fourth band is alpha
}

/// Twice as many pixels across and down: pixel centres lie at a quarter and three quarters between those of
/// the source; edges are replicated and halves are rounded up.
unsigned Upsampled(const Raster& ms, int band, int row, int column) {
    const auto clamp = [](int i, int count) { return std::clamp(i, 0, count - 1); };
    const int nearRow = row / 2, farRow = clamp(row % 2 == 0 ? nearRow - 1 : nearRow + 1, ms.rows);
    const int nearColumn = column / 2;
    const int farColumn = clamp(column % 2 == 0 ? nearColumn - 1 : nearColumn + 1, ms.columns);
    return (9 * ms.At(band, nearRow, nearColumn) + 3 * ms.At(band, nearRow, farColumn) +
            3 * ms.At(band, farRow, nearColumn) + ms.At(band, farRow, farColumn) + 8) /
           16;
}

} // namespace

Raster MakeRaster(int columns, int rows, int bands, int bits, unsigned seed) {
    Raster raster{columns, rows, bands, bits, {}};
    std::mt19937 random(seed);
    raster.samples.resize(static_cast<std::size_t>(columns * rows * bands));
    for (unsigned& sample : raster.samples)
        sample = static_cast<unsigned>(random() % (bits == 8 ? 256u : 65536u));
    return raster;
}

void Write(const std::string& file, const Raster& raster, const Placement& placement) {
    testfiles::WriteRaster(file, Shape(raster.columns, raster.rows, raster.bands, raster.bits, placement),
                           [&](int column, int row, int band) { return raster.At(band, row, column); });
}

void WriteSparse(const std::string& file, int columns, int rows, int bands, const Placement& placement) {
    testfiles::WriteRaster(file, Shape(columns, rows, bands, 8, placement), {});
}

Raster Read(const std::string& file) {
    GDALAllRegister();
    GDALDatasetUniquePtr dataset(GDALDataset::Open(file.c_str(), GDAL_OF_RASTER));
    if (!dataset) throw std::runtime_error("cannot open " + file);
    Raster raster{dataset->GetRasterXSize(),
                  dataset->GetRasterYSize(),
                  dataset->GetRasterCount(),
                  GDALGetDataTypeSizeBits(dataset->GetRasterBand(1)->GetRasterDataType()),
                  {}};
    const auto bands = static_cast<std::size_t>(raster.bands);
    const auto pixels = testfiles::ReadAll(file);
    for (std::size_t band = 0; band < bands; ++band)
        for (std::size_t i = band; i < pixels.size(); i += bands)
            raster.samples.push_back(pixels[i]);
    return raster;
}

Pair::Pair(const child::Folder& folder, int bands, int bits)
    : pan(MakeRaster(46, 38, 1, bits, 1)), ms(MakeRaster(23, 19, bands, bits, 2)) {
    Write(folder / "pan.tif", pan, {.pixelSize = 10.0});
    Write(folder / "ms.tif", ms, {.pixelSize = 20.0});
}

Raster Fuse(const std::string& method, const Raster& pan, const Raster& ms,
            const std::vector<double>& weights, const std::vector<int>& wanted) {
    Raster fused{pan.columns, pan.rows, static_cast<int>(wanted.size()), pan.bits, {}};
    const double largest = pan.bits == 8 ? 255.0 : 65535.0;
    const auto tables = oracle::ProductTables(weights, largest);
    for (const int band : wanted)
        for (int row = 0; row < pan.rows; ++row)
            for (int column = 0; column < pan.columns; ++column) {
                oracle::Pixel pixel;
                for (int each = 0; each < ms.bands; ++each)
                    pixel.push_back(Upsampled(ms, each, row, column));
                const auto all = oracle::Fuse(method, pixel, pan.At(0, row, column), tables, largest);
                fused.samples.push_back(static_cast<unsigned>(all[static_cast<std::size_t>(band)]));
            }
    return fused;
}

} // namespace scene
