#pragma once

#include "support/System.h"

#include <gdal_priv.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

/// Real files in a folder that is removed with the test.
namespace testfiles {

using Sample = std::function<double(int column, int row, int band)>;
using Transform = std::optional<std::array<double, 6>>;

/// The form of a file: pixels of `size` map units, with the corner at (left, top).
struct FileShape {
    int columns = 0;
    int rows = 0;
    int bands = 1;
    GDALDataType type = GDT_Byte;
    Transform transform;
    std::string projection;
    std::optional<double> noData = {}; ///< declared by every band
    std::vector<const char*> options = {};
};

inline Transform Grid(double size, double left = 500000.0, double top = 4000000.0) {
    return std::array{left, size, 0.0, top, 0.0, -size};
}

/// Writes a GeoTIFF and returns its name; without a sample function only its header.
inline std::string WriteRaster(const std::string& file, const FileShape& shape, const Sample& sample) {
    GDALAllRegister();
    auto options = shape.options;
    options.push_back(nullptr);
    GDALDatasetUniquePtr dataset(GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
        file.c_str(), shape.columns, shape.rows, shape.bands, shape.type,
        const_cast<char**>(options.data())));
    if (!dataset) throw std::runtime_error("cannot create " + file);
    if (auto transform = shape.transform) dataset->SetGeoTransform(transform->data());
    if (!shape.projection.empty()) {
        OGRSpatialReference reference;
        reference.SetFromUserInput(shape.projection.c_str());
        dataset->SetSpatialRef(&reference);
    }
    std::vector<double> row(static_cast<std::size_t>(shape.columns));
    for (int b = 0; b < shape.bands; ++b) {
        if (shape.noData) dataset->GetRasterBand(b + 1)->SetNoDataValue(*shape.noData);
        for (int r = 0; r < shape.rows && sample; ++r) {
            for (int c = 0; c < shape.columns; ++c)
                row[static_cast<std::size_t>(c)] = sample(c, r, b);
            if (dataset->GetRasterBand(b + 1)->RasterIO(GF_Write, 0, r, shape.columns, 1, row.data(),
                                                        shape.columns, 1, GDT_Float64, 0, 0,
                                                        nullptr) != CE_None)
                throw std::runtime_error("cannot write " + file);
        }
    }
    return file;
}

class Folder : public support::Folder {
public:
    Folder() { GDALAllRegister(); }

    std::string Write(const std::string& name, const FileShape& shape, const Sample& sample) const {
        return WriteRaster(*this / name, shape, sample);
    }
    /// Names of all files in it, including hidden ones, in order, without those that a child process printed
    /// to.
    [[nodiscard]] std::vector<std::string> List() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path))
            if (const std::string name = entry.path().filename(); name != ".stdout" && name != ".stderr")
                names.push_back(name);
        std::sort(names.begin(), names.end());
        return names;
    }
};

/// All samples of a file, interleaved by pixel; empty when it cannot be opened.
inline std::vector<unsigned> ReadAll(const std::string& file) {
    GDALDatasetUniquePtr dataset(GDALDataset::Open(file.c_str()));
    if (!dataset) return {};
    const int columns = dataset->GetRasterXSize();
    const int rows = dataset->GetRasterYSize();
    const int bands = dataset->GetRasterCount();
    std::vector<unsigned> samples(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) *
                                  static_cast<std::size_t>(bands));
    if (dataset->RasterIO(GF_Read, 0, 0, columns, rows, samples.data(), columns, rows, GDT_UInt32, bands,
                          nullptr, GSpacing{4} * bands, GSpacing{4} * bands * columns, 4, nullptr) != CE_None)
        throw std::runtime_error("cannot read " + file);
    return samples;
}

inline std::string ReadText(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace testfiles
