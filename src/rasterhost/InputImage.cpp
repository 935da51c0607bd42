#include "rasterhost/InputImage.h"

#include "fundament/Text.h"
#include "rasterhost/GdalErrors.h"

#include <cpl_conv.h>
#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <set>

namespace rasterhost {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::FormatString;

void InputImage::CloseDataset::operator()(GDALDataset* dataset) const { GDALClose(dataset); }

InputImage::~InputImage() = default;

std::unique_ptr<InputImage> InputImage::Open(const std::vector<InputBand>& inputs, const char* role,
                                             Status& status) {
    std::unique_ptr<InputImage> image(new InputImage);
    for (const InputBand& input : inputs) {
        GDALDataset* dataset = image->OpenFile(input, role, status);
        if (!dataset || !image->AddBands(input, *dataset, role, status)) return nullptr;
    }
    return image->Describe(role, status) ? std::move(image) : nullptr;
}

GDALDataset* InputImage::OpenFile(const InputBand& input, const char* role, Status& status) {
    for (const OpenFileEntry& entry : files)
        if (entry.name == input.file) return entry.dataset.get();
    const GdalErrors errors;
    auto* dataset = GDALDataset::FromHandle(
        GDALOpenEx(input.file.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR, nullptr,
                   nullptr, nullptr));
    if (!dataset) {
        Fail(status, HostStatus::InputNotOpened,
             FormatString("the %s file '%s' cannot be opened; check the name and that it is a raster%s", role,
                          input.file.c_str(), errors.Reason().c_str()));
        return nullptr;
    }
    files.push_back({input.file, std::unique_ptr<GDALDataset, CloseDataset>(dataset)});
    return dataset;
}

bool InputImage::AddBands(const InputBand& input, GDALDataset& dataset, const char* role, Status& status) {
    const int count = dataset.GetRasterCount();
    if (count == 0)
        return Fail(
            status, HostStatus::InputNotSupported,
            FormatString("the %s file '%s' has no raster band; when it holds several rasters, give the "
                         "name of one as gdalinfo lists them",
                         role, input.file.c_str()));
    if (input.band && (*input.band < 1 || *input.band > count))
        return Fail(status, HostStatus::InputNotSupported,
                    FormatString("the %s file '%s' has no band %d; its bands are 1 to %d", role,
                                 input.file.c_str(), *input.band, count));
    for (int number = input.band.value_or(1); number <= input.band.value_or(count); ++number) {
        SourceBand source{&dataset, dataset.GetRasterBand(number), number, input.file, {}};
        source.description = source.band->GetDescription();
        if (source.description.empty() && count == 1) source.description = CPLGetBasename(input.file.c_str());
        if (!CheckBand(source, role, status)) return false;
        bands.push_back(std::move(source));
    }
    return true;
}

bool InputImage::CheckBand(const SourceBand& source, const char* role, Status& status) const {
    const auto refuse = [&](const std::string& what) {
        return Fail(status, HostStatus::InputNotSupported,
                    FormatString("band %d of the %s file '%s' %s", source.number, role, source.file.c_str(),
                                 what.c_str()));
    };
    const GDALDataType type = source.band->GetRasterDataType();
    if (type != GDT_Byte && type != GDT_UInt16)
        return refuse(FormatString("holds %s samples; 8 and 16 bits unsigned are supported: convert it with "
                                   "gdal_translate -ot Byte or -ot UInt16",
                                   GDALGetDataTypeName(type)));
    if (const char* pixelType = source.band->GetMetadataItem("PIXELTYPE", "IMAGE_STRUCTURE");
        pixelType && std::string(pixelType) == "SIGNEDBYTE")
        return refuse("holds signed bytes; 8 and 16 bits unsigned are supported");
    if (source.band->GetColorTable())
        return refuse("holds palette numbers, not intensities: expand it with gdal_translate -expand rgb");
    if (bands.empty()) return true;
    const SourceBand& first = bands.front();
    const auto same = [&](const char* what, int here, int there) {
        return here == there || refuse(FormatString("differs in %s (%d) from '%s' (%d); all bands must agree",
                                                    what, here, first.file.c_str(), there));
    };
    return same("width", source.band->GetXSize(), first.band->GetXSize()) &&
           same("height", source.band->GetYSize(), first.band->GetYSize()) &&
           same("bits per sample", GDALGetDataTypeSizeBits(type),
                GDALGetDataTypeSizeBits(first.band->GetRasterDataType()));
}

bool InputImage::Describe(const char* role, Status& status) {
    if (bands.empty())
        return Fail(status, HostStatus::RequestInvalid, FormatString("no %s file was given", role));
    GDALRasterBand& band = *bands.front().band;
    info.cols = static_cast<std::uint32_t>(band.GetXSize());
    info.rows = static_cast<std::uint32_t>(band.GetYSize());
    info.bandsPerPixel = static_cast<std::uint32_t>(bands.size());
    info.bitsPerBand = static_cast<std::uint32_t>(GDALGetDataTypeSizeBits(band.GetRasterDataType()));
    info.colorSpace = bands.size() == 1 ? 0 : 1;
    return Georeference(status);
}

bool InputImage::Georeference(Status& status) {
    for (const OpenFileEntry& file : files) {
        std::array<double, 6> here{};
        std::optional<std::array<double, 6>> found;
        if (file.dataset->GetGeoTransform(here.data()) == CE_None) found = here;
        if (found && !(here[2] == 0.0 && here[4] == 0.0 && here[1] > 0.0 && here[5] < 0.0))
            return Fail(
                status, HostStatus::InputNotSupported,
                FormatString("'%s' is not north up (rotated, or its rows run upward); make it so with "
                             "gdalwarp",
                             file.name.c_str()));
        if (&file == &files.front()) {
            geoTransform = found;
            if (const OGRSpatialReference* reference = file.dataset->GetSpatialRef()) projection = *reference;
            continue;
        }
        const OGRSpatialReference* reference = file.dataset->GetSpatialRef();
        bool agrees = found.has_value() == geoTransform.has_value() &&
                      IsSameProjection(projection, reference ? *reference : OGRSpatialReference());
        // Georeferencing that was written and read again differs in its last digits.
        for (std::size_t i = 0; agrees && found && i < here.size(); ++i)
            agrees = std::fabs(here[i] - (*geoTransform)[i]) <= 1e-6 * (*geoTransform)[1];
        if (!agrees)
            return Fail(status, HostStatus::InputsDoNotFit,
                        FormatString("'%s' and '%s' do not lie at the same place; bands from several files "
                                     "must share corner, pixel size and projection",
                                     file.name.c_str(), files.front().name.c_str()));
    }
    const std::array<double, 6> transform = geoTransform.value_or(std::array{0.0, 1.0, 0.0, 0.0, 0.0, -1.0});
    info.pixelSizeX = transform[1];
    info.pixelSizeY = -transform[5];
    info.xMin = transform[0];
    info.xMax = info.xMin + info.cols * info.pixelSizeX;
    info.yMax = transform[3];
    info.yMin = info.yMax - info.rows * info.pixelSizeY;
    return true;
}

std::string InputImage::GetName() const {
    return files.size() == 1 ? "'" + files.front().name + "'"
                             : FormatString("'%s' and %d more", files.front().name.c_str(),
                                            static_cast<int>(files.size()) - 1);
}

std::vector<std::string> InputImage::GetFiles() const {
    std::set<std::string> names;
    for (const OpenFileEntry& file : files) {
        names.insert(file.name);
        char** list = file.dataset->GetFileList();
        for (char** name = list; name && *name; ++name)
            names.insert(*name);
        CSLDestroy(list);
    }
    return {names.begin(), names.end()};
}

std::uint64_t InputImage::GetBlockRowBytes() const {
    int width = 0, height = 0;
    bands.front().band->GetBlockSize(&width, &height);
    return std::uint64_t{info.cols} * static_cast<std::uint64_t>(height) * hostkit::PixelBytes(info);
}

void InputImage::SpreadOver(const RasterInfo& other) {
    info.xMin = other.xMin;
    info.xMax = other.xMax;
    info.yMin = other.yMin;
    info.yMax = other.yMax;
    info.pixelSizeX = (info.xMax - info.xMin) / info.cols;
    info.pixelSizeY = (info.yMax - info.yMin) / info.rows;
}

void InputImage::Reorder(const std::vector<std::size_t>& order) {
    std::vector<SourceBand> reordered;
    for (const std::size_t position : order)
        reordered.push_back(bands[position]);
    bands = std::move(reordered);
    info.bandsPerPixel = static_cast<std::uint32_t>(bands.size());
}

bool InputImage::Read(const PixelRect& rect, unsigned char* out, Status& status) const {
    const auto columns = static_cast<int>(rect.GetColumns());
    const auto rows = static_cast<int>(rect.GetRows());
    const auto sampleBytes = static_cast<GSpacing>(info.bitsPerBand / 8);
    const auto pixelBytes = static_cast<GSpacing>(hostkit::PixelBytes(info));
    const GdalErrors errors;
    // One call for as many bands in a row as come from one file.
    for (std::size_t first = 0, end = 0; first < bands.size(); first = end) {
        std::vector<int> numbers;
        for (end = first; end < bands.size() && bands[end].dataset == bands[first].dataset; ++end)
            numbers.push_back(bands[end].number);
        const CPLErr result = bands[first].dataset->RasterIO(
            GF_Read, static_cast<int>(rect.col0), static_cast<int>(rect.row0), columns, rows,
            out + static_cast<GSpacing>(first) * sampleBytes, columns, rows,
            bands[first].band->GetRasterDataType(), static_cast<int>(numbers.size()), numbers.data(),
            pixelBytes, pixelBytes * columns, sampleBytes, nullptr);
        if (result != CE_None || errors.HasFailed())
            return Fail(status, HostStatus::InputNotRead,
                        FormatString("rows %u to %u of '%s' cannot be read; the file may be cut short or "
                                     "damaged%s",
                                     rect.row0, rect.row1, bands[first].file.c_str(),
                                     errors.Reason().c_str()));
    }
    return true;
}

bool IsSameProjection(const OGRSpatialReference& a, const OGRSpatialReference& b) {
    if (a.IsEmpty() || b.IsEmpty()) return true;
    const char* const options[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES", "CRITERION=EQUIVALENT",
                                   nullptr};
    return a.IsSame(&b, options) != 0;
}

} // namespace rasterhost
