#include "Scene.h"

#include <cpl_string.h>
#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <stdexcept>

namespace scene {

namespace {

GDALDatasetUniquePtr Create(const std::string& file, int columns, int rows, int bands, int bits,
                            const Placement& placement, CPLStringList options) {
    GDALAllRegister();
    options.SetNameValue("PHOTOMETRIC", "MINISBLACK");
    options.SetNameValue("ALPHA", "NO"); // else a fourth band is one
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    GDALDatasetUniquePtr dataset(driver->Create(file.c_str(), columns, rows, bands,
                                                bits == 8    ? GDT_Byte
                                                : bits == 16 ? GDT_UInt16
                                                             : GDT_Float32,
                                                const_cast<char**>(options.List())));
    if (!dataset) throw std::runtime_error("cannot create " + file);
    if (placement.pixelSize > 0.0) {
        std::array<double, 6> transform = {placement.x, placement.pixelSize, 0.0, placement.y,
                                           0.0,         -placement.pixelSize};
        dataset->SetGeoTransform(transform.data());
    }
    if (placement.epsg > 0) {
        OGRSpatialReference reference;
        reference.importFromEPSG(placement.epsg);
        dataset->SetSpatialRef(&reference);
    }
    return dataset;
}

/// Twice as many pixels across and down: pixel centres lie a quarter and three quarters between those of the
/// source, edges are replicated, halves go up.
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
    const auto dataset =
        Create(file, raster.columns, raster.rows, raster.bands, raster.bits, placement, CPLStringList());
    std::vector<unsigned> copy = raster.samples;
    if (dataset->RasterIO(GF_Write, 0, 0, raster.columns, raster.rows, copy.data(), raster.columns,
                          raster.rows, GDT_UInt32, raster.bands, nullptr, 0, 0, 0, nullptr) != CE_None)
        throw std::runtime_error("cannot write " + file);
}

void WriteSparse(const std::string& file, int columns, int rows, int bands, const Placement& placement) {
    CPLStringList options;
    options.SetNameValue("SPARSE_OK", "TRUE");
    Create(file, columns, rows, bands, 8, placement, options);
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
    raster.samples.resize(static_cast<std::size_t>(raster.columns * raster.rows * raster.bands));
    if (dataset->RasterIO(GF_Read, 0, 0, raster.columns, raster.rows, raster.samples.data(), raster.columns,
                          raster.rows, GDT_UInt32, raster.bands, nullptr, 0, 0, 0, nullptr) != CE_None)
        throw std::runtime_error("cannot read " + file);
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
    for (const int band : wanted)
        for (int row = 0; row < pan.rows; ++row)
            for (int column = 0; column < pan.columns; ++column) {
                double simulated = 0.0;
                for (int each = 0; each < ms.bands; ++each)
                    simulated += Upsampled(ms, each, row, column) * weights[static_cast<std::size_t>(each)];
                const double pure = Upsampled(ms, band, row, column), sharp = pan.At(0, row, column);
                const double exact = method == "Brovey"
                                         ? (simulated == 0.0 ? 0.0 : pure * (sharp / simulated))
                                         : pure + (sharp - simulated) + 0.5;
                fused.samples.push_back(static_cast<unsigned>(std::clamp(exact, 0.0, largest)));
            }
    return fused;
}

} // namespace scene
