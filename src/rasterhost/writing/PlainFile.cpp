#include "rasterhost/writing/PlainFile.h"

#include "fundament/Text.h"
#include "rasterhost/requests/GdalErrors.h"

#include <cpl_conv.h>
#include <cpl_string.h>
#include <gdal_priv.h>

namespace rasterhost {

using imagery::ForStrips;
using imagery::RowSource;
using imagery::SampleRows;

using KOVA::Tessara::Fundament::FormatString;

bool PlainFile::Refuse(const GdalErrors& errors, Status& status) const {
    return Fail(status, HostStatus::OutputNotWritten, "'%s' cannot be written; %s%s", name.c_str(),
                errors.Suspect("check the folder and the space there"), errors.Reason().c_str());
}

std::unique_ptr<PlainFile> PlainFile::Create(const std::string& name, const PlainShape& shape,
                                             Status& status) {
    std::unique_ptr<PlainFile> file(new PlainFile(name));
    const GdalErrors errors;
    CPLStringList options;
    options.SetNameValue("TILED", "YES");
    options.SetNameValue("BIGTIFF", "IF_SAFER");
    options.SetNameValue("PHOTOMETRIC", "MINISBLACK");
    options.SetNameValue("ALPHA", "NO");
    if (shape.bitDepth < shape.bits)
        options.SetNameValue("NBITS", FormatString("%u", shape.bitDepth).c_str());
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    file->dataset = driver ? driver->Create(name.c_str(), static_cast<int>(shape.columns),
                                            static_cast<int>(shape.rows), static_cast<int>(shape.bands),
                                            shape.bits == 8 ? GDT_Byte : GDT_UInt16, options.List())
                           : nullptr;
    if (!file->dataset) {
        file->Refuse(errors, status);
        return nullptr;
    }
    std::array<double, 6> transform{0.0, shape.pixelSize[0], 0.0, 0.0, 0.0, -shape.pixelSize[1]};
    file->dataset->SetGeoTransform(transform.data());
    const CPLConfigOptionSetter inside("GDAL_TIFF_INTERNAL_MASK", "YES", false);
    if (file->dataset->CreateMaskBand(GMF_PER_DATASET) == CE_None) return file;
    file->Refuse(errors, status);
    return nullptr;
}

std::unique_ptr<PlainFile> PlainFile::Open(const std::string& name, Status& status) {
    std::unique_ptr<PlainFile> file(new PlainFile(name));
    const GdalErrors errors;
    file->dataset = GDALDataset::FromHandle(
        GDALOpenEx(name.c_str(), GDAL_OF_RASTER | GDAL_OF_UPDATE, nullptr, nullptr, nullptr));
    if (file->dataset) return file;
    file->Refuse(errors, status);
    return nullptr;
}

PlainFile::~PlainFile() {
    if (dataset) GDALClose(dataset);
}

bool PlainFile::WriteRows(RowSource& image, std::uint32_t column, std::uint32_t row, bool maskOnly,
                          Status& status) {
    const GdalErrors errors;
    const auto columns = static_cast<int>(image.GetColumns());
    const auto bands = static_cast<int>(image.GetBands());
    GDALRasterBand* mask = dataset->GetRasterBand(1)->GetMaskBand();
    SampleRows rows;
    return ForStrips(image, [&](std::uint32_t first, std::uint32_t end) {
        if (!image.Read(first, end, rows, status)) return false;
        for (unsigned char& has : rows.valid)
            has = has ? 255 : 0;
        const auto count = static_cast<int>(end - first);
        const auto at = static_cast<int>(row + first);
        const bool isWritten =
            (maskOnly ||
             dataset->RasterIO(GF_Write, static_cast<int>(column), at, columns, count, rows.samples.data(),
                               columns, count, GDT_UInt16, bands, nullptr, GSpacing{2} * bands,
                               GSpacing{2} * bands * columns, 2, nullptr) == CE_None) &&
            mask->RasterIO(GF_Write, static_cast<int>(column), at, columns, count, rows.valid.data(), columns,
                           count, GDT_Byte, 0, 0, nullptr) == CE_None;
        return (isWritten && !errors.HasFailed()) || Refuse(errors, status);
    });
}

bool PlainFile::Write(RowSource& image, std::uint32_t column, std::uint32_t row, Status& status) {
    return WriteRows(image, column, row, false, status);
}

bool PlainFile::WriteMask(RowSource& image, Status& status) { return WriteRows(image, 0, 0, true, status); }

bool PlainFile::Close(Status& status) {
    const GdalErrors errors;
    GDALClose(dataset);
    dataset = nullptr;
    return !errors.HasFailed() || Refuse(errors, status);
}

} // namespace rasterhost
