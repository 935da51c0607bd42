#pragma once

#include "hostkit/MethodTable.h"
#include "hostkit/PluginLibrary.h"
#include "rasterhost/fusing/Sharpen.h"

#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Real files in a folder that goes away with the test.
namespace testfiles {

using Sample = std::function<unsigned(int column, int row, int band)>;
using Transform = std::optional<std::array<double, 6>>;

/// What a file is to be; pixels of `size` map units with the corner at (left, top).
struct FileShape {
    int columns = 0;
    int rows = 0;
    int bands = 1;
    GDALDataType type = GDT_Byte;
    Transform transform;
    std::string projection;
    const char* driver = "GTiff";
};

inline Transform Grid(double size, double left = 500000.0, double top = 4000000.0) {
    return std::array{left, size, 0.0, top, 0.0, -size};
}

class Folder {
public:
    Folder() {
        GDALAllRegister();
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string("pansharp-") + test->test_suite_name() + "-" + test->name();
        for (char& letter : name)
            if (letter == '/') letter = '-';
        path = std::filesystem::temp_directory_path() / name;
        std::filesystem::remove_all(path);
        std::filesystem::create_directories(path);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { std::filesystem::remove_all(path); }

    [[nodiscard]] std::string operator/(const std::string& name) const { return (path / name).string(); }

    /// Writes a file and returns its name.
    std::string Write(const std::string& name, const FileShape& shape, const Sample& sample) const {
        const std::string file = *this / name;
        GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(shape.driver);
        GDALDatasetUniquePtr dataset(
            driver->Create(file.c_str(), shape.columns, shape.rows, shape.bands, shape.type, nullptr));
        if (shape.transform) {
            auto transform = *shape.transform;
            dataset->SetGeoTransform(transform.data());
        }
        if (!shape.projection.empty()) {
            OGRSpatialReference reference;
            reference.SetFromUserInput(shape.projection.c_str());
            dataset->SetSpatialRef(&reference);
        }
        std::vector<float> row(static_cast<std::size_t>(shape.columns));
        for (int band = 0; band < shape.bands; ++band)
            for (int r = 0; r < shape.rows; ++r) {
                for (int c = 0; c < shape.columns; ++c)
                    row[static_cast<std::size_t>(c)] = static_cast<float>(sample(c, r, band));
                EXPECT_EQ(dataset->GetRasterBand(band + 1)->RasterIO(GF_Write, 0, r, shape.columns, 1,
                                                                     row.data(), shape.columns, 1,
                                                                     GDT_Float32, 0, 0, nullptr),
                          CE_None);
            }
        return file;
    }

    /// Names in the folder, in order.
    [[nodiscard]] std::vector<std::string> List() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    std::filesystem::path path;
};

/// All samples of a file, interleaved by pixel.
inline std::vector<unsigned> ReadAll(const std::string& file) {
    GDALDatasetUniquePtr dataset(GDALDataset::Open(file.c_str()));
    if (!dataset) return {};
    const int columns = dataset->GetRasterXSize();
    const int rows = dataset->GetRasterYSize();
    const int bands = dataset->GetRasterCount();
    std::vector<unsigned> samples(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) *
                                  static_cast<std::size_t>(bands));
    EXPECT_EQ(dataset->RasterIO(GF_Read, 0, 0, columns, rows, samples.data(), columns, rows, GDT_UInt32,
                                bands, nullptr, GSpacing{4} * bands, GSpacing{4} * bands * columns, 4,
                                nullptr),
              CE_None);
    return samples;
}

inline std::string ReadText(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// A run with the built plug-in and what came of it.
struct Outcome {
    bool isDone = false;
    rasterhost::SharpenReport report;
    KOVA::Tessara::Fundament::Status status;
    rasterhost::PreparedPair pair; ///< that was fused
};

/// The methods of the built plug-in.
inline std::span<const PansharpMethod> Methods() {
    static KOVA::Tessara::Fundament::Status status;
    static const auto plugin = hostkit::PluginLibrary::Load(PANSHARP_PLUGIN_FILE, status);
    return hostkit::MethodsOf(plugin->GetDescription());
}

/// A request whose pixels can be worked out by hand: it weighs bands and samples between four neighbours.
inline rasterhost::SharpenRequest MakeRequest() {
    rasterhost::SharpenRequest request;
    request.method = "kova";
    request.resampling = "bilinear";
    return request;
}

inline Outcome RunSharpen(rasterhost::SharpenRequest request) {
    if (request.plugin.empty()) request.plugin = PANSHARP_PLUGIN_FILE;
    Outcome outcome;
    outcome.isDone = rasterhost::Sharpen(request, outcome.report, outcome.status, &outcome.pair);
    return outcome;
}

} // namespace testfiles
