// Makes a pair of any size with a known truth: make_scene SIZE BANDS BITS RATIO LAYOUT FOLDER
//
// The truth of band b at pan pixel (x, y) is smooth from one multispectral pixel to the next and textured
// within each. Pan is the mean of the bands; a multispectral sample is the mean of the truth over its pixel.
// It is written row by row, so the size is not limited by memory.
#include <gdal_priv.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

struct Scene {
    int size = 0;
    int bands = 0;
    int bits = 0;
    int ratio = 0;
    std::string layout;
    [[nodiscard]] double Most() const { return bits == 8 ? 255.0 : 65535.0; }
};

/// The smooth part of the truth: a wave across and one down, each tabulated once, one row of `size` per band.
class SmoothTruth {
public:
    explicit SmoothTruth(const Scene& scene) : m_size(static_cast<std::size_t>(scene.size)) {
        for (int band = 0; band < scene.bands; ++band)
            for (int i = 0; i < scene.size; ++i) {
                m_across.push_back(0.45 + 0.2 * std::sin(i * 0.0031 + band));
                m_down.push_back(0.15 * std::cos(i * 0.0047 - band * 0.7));
            }
    }
    [[nodiscard]] double At(int x, int y, int band) const {
        const std::size_t row = static_cast<std::size_t>(band) * m_size;
        return m_across[row + static_cast<std::size_t>(x)] + m_down[row + static_cast<std::size_t>(y)];
    }

private:
    std::size_t m_size;
    std::vector<double> m_across;
    std::vector<double> m_down;
};

double Texture(int x, int y) {
    const auto hash = static_cast<unsigned>(x) * 2654435761u ^ static_cast<unsigned>(y) * 40503u;
    return ((hash >> 11) % 1000) / 1000.0 - 0.5;
}

GDALDataset* Create(const Scene& scene, const std::string& file, int size, int bands, double pixel) {
    char** options = nullptr;
    if (scene.layout == "tiled") options = CSLSetNameValue(options, "TILED", "YES");
    options = CSLSetNameValue(options, "BIGTIFF", "IF_SAFER");
    GDALDataset* dataset = GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
        file.c_str(), size, size, bands, scene.bits == 8 ? GDT_Byte : GDT_UInt16, options);
    CSLDestroy(options);
    if (!dataset) return nullptr;
    double transform[6] = {500000.0, pixel, 0.0, 4500000.0, 0.0, -pixel};
    dataset->SetGeoTransform(transform);
    OGRSpatialReference utm;
    utm.importFromEPSG(32630);
    dataset->SetSpatialRef(&utm);
    return dataset;
}

/// Writes rows of interleaved samples from `sample`, in the depth of the scene.
template <class Sample>
bool Write(const Scene& scene, GDALDataset& dataset, Sample sample) {
    const int columns = dataset.GetRasterXSize();
    const int bands = dataset.GetRasterCount();
    constexpr int rowsAtOnce = 256;
    std::vector<unsigned short> rows(static_cast<std::size_t>(columns) * static_cast<std::size_t>(bands) *
                                     rowsAtOnce);
    for (int y0 = 0; y0 < dataset.GetRasterYSize(); y0 += rowsAtOnce) {
        const int count = std::min(rowsAtOnce, dataset.GetRasterYSize() - y0);
        std::size_t i = 0;
        for (int y = y0; y < y0 + count; ++y)
            for (int x = 0; x < columns; ++x)
                for (int b = 0; b < bands; ++b)
                    rows[i++] = static_cast<unsigned short>(sample(x, y, b) * scene.Most() + 0.5);
        if (dataset.RasterIO(GF_Write, 0, y0, columns, count, rows.data(), columns, count, GDT_UInt16, bands,
                             nullptr, 2 * bands, GSpacing{2} * bands * columns, 2, nullptr) != CE_None)
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 7) {
        std::fprintf(stderr, "usage: make_scene SIZE BANDS BITS RATIO tiled|stripped FOLDER\n");
        return 2;
    }
    GDALAllRegister();
    const Scene scene{std::atoi(argv[1]), std::atoi(argv[2]), std::atoi(argv[3]), std::atoi(argv[4]),
                      argv[5]};
    const std::string folder = argv[6];
    const SmoothTruth smooth(scene);
    bool done = scene.size > 0 && scene.bands > 0 && scene.ratio > 0 && scene.size % scene.ratio == 0;
    if (GDALDataset* pan = done ? Create(scene, folder + "/pan.tif", scene.size, 1, 0.5) : nullptr) {
        done = Write(scene, *pan, [&](int x, int y, int) {
            double sum = 0.0;
            for (int b = 0; b < scene.bands; ++b)
                sum += smooth.At(x, y, b);
            return sum / scene.bands + 0.2 * Texture(x, y);
        });
        GDALClose(pan);
    } else {
        done = false;
    }
    GDALDataset* ms =
        done ? Create(scene, folder + "/ms.tif", scene.size / scene.ratio, scene.bands, 0.5 * scene.ratio)
             : nullptr;
    if (ms) {
        done = Write(scene, *ms, [&](int x, int y, int b) {
            const int half = scene.ratio / 2;
            return smooth.At(x * scene.ratio + half, y * scene.ratio + half, b);
        });
        GDALClose(ms);
    } else {
        done = false;
    }
    if (!done) std::fprintf(stderr, "make_scene: could not write the scene into %s\n", folder.c_str());
    return done ? 0 : 1;
}
