#include "Image.h"

#include <cpl_string.h>
#include <gdal_priv.h>

#include <memory>
#include <stdexcept>

namespace demo {
namespace {

struct CloseDataset {
    void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using Dataset = std::unique_ptr<GDALDataset, CloseDataset>;

[[noreturn]] void Fail(const std::string& file, const std::string& what) {
    throw std::runtime_error(file + ": " + what + ": " + CPLGetLastErrorMsg());
}

// GDAL takes a sample buffer as a non-const void pointer.
void Transfer(GDALDataset& dataset, GDALRWFlag flag, std::size_t band, std::vector<std::uint8_t>& samples,
              const std::string& file) {
    const int columns = dataset.GetRasterXSize();
    const int rows = dataset.GetRasterYSize();
    if (dataset.GetRasterBand(static_cast<int>(band) + 1)
            ->RasterIO(flag, 0, 0, columns, rows, samples.data(), columns, rows, GDT_Byte, 0, 0, nullptr) !=
        CE_None)
        Fail(file, flag == GF_Read ? "cannot be read" : "cannot be written");
}

Dataset InMemory(const Image& image, const std::string& file) {
    Dataset dataset(GetGDALDriverManager()->GetDriverByName("MEM")->Create(
        "", image.columns, image.rows, static_cast<int>(image.bands.size()), GDT_Byte, nullptr));
    if (!dataset) Fail(file, "no memory for it");
    if (!image.projection.empty()) {
        std::array<double, 6> transform = image.geoTransform;
        dataset->SetGeoTransform(transform.data());
        dataset->SetProjection(image.projection.c_str());
    }
    for (std::size_t band = 0; band < image.bands.size(); ++band) {
        std::vector<std::uint8_t> samples = image.bands[band];
        Transfer(*dataset, GF_Write, band, samples, file);
    }
    return dataset;
}

void Write(const Image& image, const std::string& file, const char* format, const CPLStringList& options) {
    const Dataset source = InMemory(image, file);
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(format);
    if (driver == nullptr) Fail(file, std::string("GDAL has no driver ") + format);
    CPLErrorReset();
    Dataset written(driver->CreateCopy(file.c_str(), source.get(), FALSE, options.List(), nullptr, nullptr));
    if (!written) Fail(file, "cannot be written");
    written.reset(); // writes the last blocks
    if (CPLGetLastErrorType() == CE_Failure) Fail(file, "cannot be written whole");
}

} // namespace

Image Image::Like(int newColumns, int newRows, std::size_t bandCount, double step) const {
    Image image;
    image.columns = newColumns;
    image.rows = newRows;
    image.bands.assign(bandCount, std::vector<std::uint8_t>(static_cast<std::size_t>(newColumns) *
                                                            static_cast<std::size_t>(newRows)));
    image.geoTransform = geoTransform;
    for (const std::size_t scale : {1U, 2U, 4U, 5U})
        image.geoTransform[scale] *= step;
    image.projection = projection;
    return image;
}

Image ReadImage(const std::string& file) {
    const Dataset dataset(GDALDataset::Open(file.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
    if (!dataset) Fail(file, "cannot be opened");
    Image place;
    dataset->GetGeoTransform(place.geoTransform.data());
    place.projection = dataset->GetProjectionRef();
    Image image = place.Like(dataset->GetRasterXSize(), dataset->GetRasterYSize(),
                             static_cast<std::size_t>(dataset->GetRasterCount()), 1.0);
    for (std::size_t band = 0; band < image.bands.size(); ++band) {
        if (dataset->GetRasterBand(static_cast<int>(band) + 1)->GetRasterDataType() != GDT_Byte)
            throw std::runtime_error(file + ": only 8-bit images serve here");
        Transfer(*dataset, GF_Read, band, image.bands[band], file);
    }
    return image;
}

void WriteGeoTiff(const Image& image, const std::string& file) { Write(image, file, "GTiff", {}); }

void WritePng(const Image& image, const std::string& file) {
    CPLStringList options;
    options.SetNameValue("ZLEVEL", "9");
    Write(image, file, "PNG", options);
    // Removes GDAL's side file, which would only say that the picture has no position.
    VSIUnlink((file + ".aux.xml").c_str());
}

} // namespace demo
