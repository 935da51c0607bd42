// Blends two rasters pixel by pixel with an operator of the image library, and writes a GeoTIFF:
//
//     blend-rasters KEYWORD INPUT1 INPUT2 OUTPUT [PROPERTY=VALUE ...]
//     blend-rasters Subtract after.tif before.tif change.tif
//     blend-rasters Mask scene.tif clouds.tif clear.tif FillValue=255 FillColor=0,0,0
#include "DatasetImage.h"

#include "operators/CreateBlendPixels.h"
#include "operators/CreateImageViaBinaryRowOperator.h"

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using KOVA::Tessara::Fundament::Status;

struct CloseDataset {
    void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using Dataset = std::unique_ptr<GDALDataset, CloseDataset>;

[[noreturn]] void Fail(const std::string& what) { throw std::runtime_error(what); }

/// The library gives reasons in a status, the newest first. Items without a message are skipped.
[[noreturn]] void Fail(std::string what, const Status& reasons) {
    for (std::uint32_t i = 0; i < reasons.GetCount(); ++i)
        if (!reasons.GetItem(i).message.empty()) what += "\n  " + reasons.GetItem(i).message;
    Fail(what);
}

Dataset Open(const char* file) {
    Dataset dataset(GDALDataset::Open(file, GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR));
    if (!dataset) Fail(std::string(file) + " cannot be opened: " + CPLGetLastErrorMsg());
    if (dataset->GetRasterCount() == 0) Fail(std::string(file) + " has no bands");
    for (GDALRasterBand* band : dataset->GetBands()) {
        const GDALDataType type = band->GetRasterDataType();
        if (type != GDT_Byte && type != GDT_UInt16)
            Fail(std::string(file) + " has samples of type " + GDALGetDataTypeName(type) +
                 "; 8 or 16 bits unsigned are needed");
        if (type != dataset->GetRasterBand(1)->GetRasterDataType())
            Fail(std::string(file) + " has bands of different depths");
    }
    return dataset;
}

struct Arguments {
    const char* keyword;
    const char* output;
    char** properties; ///< the rest of argv
};

/// A new GeoTIFF with the image's size and bands, and the position and projection of `model`.
Dataset CreateOutput(const char* file, const PXL::ImageInfo& info, GDALDataType type, GDALDataset& model) {
    VSIStatBufL found;
    if (VSIStatL(file, &found) == 0) Fail(std::string(file) + " exists; name another file");
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    Dataset output(driver->Create(file, static_cast<int>(info.cols), static_cast<int>(info.rows),
                                  static_cast<int>(info.bands), type, nullptr));
    if (!output) Fail(std::string(file) + " cannot be written: " + CPLGetLastErrorMsg());
    double transform[6];
    if (model.GetGeoTransform(transform) == CE_None) output->SetGeoTransform(transform);
    output->SetSpatialRef(model.GetSpatialRef());
    return output;
}

template <class T>
void WriteRows(PXL::Image<T>& image, GDALDataset& output, GDALDataType type) {
    const PXL::ImageInfo info = image.GetInfo();
    const int columns = static_cast<int>(info.cols);
    const GSpacing pixel = info.bands * GSpacing{sizeof(T)};
    for (std::uint32_t row = 0; row < info.rows; ++row) {
        T* samples = image.GetRow(row);
        if (!samples) Fail("row " + std::to_string(row) + " cannot be made", image.status);
        if (output.RasterIO(GF_Write, 0, static_cast<int>(row), columns, 1, samples, columns, 1, type,
                            static_cast<int>(info.bands), nullptr, pixel, pixel * columns, sizeof(T),
                            nullptr) != CE_None)
            Fail(std::string("a row cannot be written: ") + CPLGetLastErrorMsg());
    }
}

template <class T>
void Blend(const Arguments& arguments, GDALDataset& dataset1, GDALDataset& dataset2) {
    constexpr GDALDataType type = sizeof(T) == 1 ? GDT_Byte : GDT_UInt16;
    DatasetImage<T> input1(dataset1);
    DatasetImage<T> input2(dataset2);

    Status reasons;
    const auto blend = PXL::CreateBlendPixels<T>(arguments.keyword, reasons);
    if (!blend) {
        std::string known;
        for (const std::string& keyword : PXL::BlendKeywords())
            known += " " + keyword;
        Fail("no operator; the keywords are" + known, reasons);
    }
    for (char** property = arguments.properties; *property; ++property) {
        const std::string text = *property;
        const std::size_t equals = text.find('=');
        if (equals == std::string::npos) Fail("'" + text + "' is no PROPERTY=VALUE");
        blend->properties[text.substr(0, equals)] = text.substr(equals + 1);
    }
    if (!blend->Init(input1.GetInfo(), input2.GetInfo(), false))
        Fail("the rasters cannot be blended", blend->status);

    const auto image = PXL::CreateImageViaBinaryRowOperator<T>("", reasons);
    const PXL::ImageInfo info = blend->GetOutputInfo();
    if (!image->Init(&input1, &input2, blend.get(), false) || !image->SetWindow(0, 0, info.cols, info.rows))
        Fail("the rasters cannot be blended", image->status);
    Dataset output = CreateOutput(arguments.output, info, type, dataset1);
    try {
        WriteRows<T>(*image, *output, type);
        CPLErrorReset();
        output.reset(); // writes the last blocks
        if (CPLGetLastErrorType() == CE_Failure) Fail("the output cannot be written whole");
    } catch (...) {
        output.reset();
        VSIUnlink(arguments.output);
        throw;
    }
}

void Run(int argc, char** argv) {
    if (argc < 5) Fail("usage: blend-rasters KEYWORD INPUT1 INPUT2 OUTPUT [PROPERTY=VALUE ...]");
    GDALAllRegister();
    CPLPushErrorHandler(CPLQuietErrorHandler);
    const Dataset input1 = Open(argv[2]);
    const Dataset input2 = Open(argv[3]);
    // Operators trust the rows that they get, so the caller must check that both rasters match.
    if (input1->GetRasterXSize() != input2->GetRasterXSize() ||
        input1->GetRasterYSize() != input2->GetRasterYSize())
        Fail("the rasters differ in size; bring them to one grid first");
    const GDALDataType type = input1->GetRasterBand(1)->GetRasterDataType();
    if (type != input2->GetRasterBand(1)->GetRasterDataType())
        Fail("one raster has 8 bits a sample, the other 16; bring them to one depth first");
    const Arguments arguments = {argv[1], argv[4], argv + 5};
    if (type == GDT_Byte)
        Blend<unsigned char>(arguments, *input1, *input2);
    else
        Blend<unsigned short>(arguments, *input1, *input2);
}

} // namespace

int main(int argc, char** argv) {
    try {
        Run(argc, argv);
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "blend-rasters: %s\n", failure.what());
        return 1;
    }
}
