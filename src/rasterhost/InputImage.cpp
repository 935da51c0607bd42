#include "rasterhost/InputImage.h"

#include "fundament/Text.h"
#include "rasterhost/BandReader.h"
#include "rasterhost/FileState.h"
#include "rasterhost/GdalErrors.h"

#include <cpl_conv.h>
#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <set>

namespace rasterhost {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::FormatString;

void InputImage::CloseDataset::operator()(GDALDataset* dataset) const { GDALClose(dataset); }

InputImage::~InputImage() = default;

std::unique_ptr<InputImage> InputImage::Open(const std::vector<InputBand>& inputs, const char* role,
                                             const SampleOptions& sampleOptions, Status& status) {
    std::unique_ptr<InputImage> image(new InputImage);
    image->options = sampleOptions;
    for (const InputBand& input : inputs) {
        GDALDataset* dataset = image->OpenFile(input, role, status);
        if (!dataset || !image->AddBands(input, *dataset, role, status)) return nullptr;
    }
    return image->Describe(role, status) ? std::move(image) : nullptr;
}

namespace {

/// Opening a pipe would wait for its writer, for ever.
bool CheckKind(const std::string& file, const char* role, Status& status) {
    const FileState state = LookAt(file);
    return !state.exists || state.isFile || state.isFolder ||
           Fail(status, HostStatus::InputNotOpened,
                FormatString("the %s '%s' is a pipe or a device; write what it gives into a file, and name "
                             "that",
                             role, file.c_str()));
}

} // namespace

GDALDataset* InputImage::OpenFile(const InputBand& input, const char* role, Status& status) {
    for (const OpenFileEntry& entry : files)
        if (entry.name == input.file) return entry.dataset.get();
    if (!CheckKind(input.file, role, status)) return nullptr;
    const GdalErrors errors;
    auto* dataset = GDALDataset::FromHandle(
        GDALOpenEx(input.file.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR, nullptr,
                   nullptr, nullptr));
    if (!dataset) {
        const FileState state = LookAt(input.file);
        if (state.isEmpty) {
            Fail(status, HostStatus::InputNotOpened,
                 FormatString("the %s file '%s' is empty; was it copied or downloaded to its end?", role,
                              input.file.c_str()));
            return nullptr;
        }
        Fail(status, HostStatus::InputNotOpened,
             FormatString("the %s file '%s' cannot be opened; check the name and that it is a raster%s", role,
                          input.file.c_str(), errors.Reason().c_str()));
        return nullptr;
    }
    files.push_back({input.file, std::unique_ptr<GDALDataset, CloseDataset>(dataset)});
    return dataset;
}

namespace {

/// Four bands come easily marked as red, green, blue and transparency, near infrared though the last is: one
/// is taken for transparency when a regular sample of it holds nothing but 0 and the largest value.
bool IsTransparency(GDALRasterBand& band) {
    if (band.GetColorInterpretation() != GCI_AlphaBand) return false;
    constexpr int places = 8; // across and down
    constexpr int most = 32;
    const int columns = std::min(band.GetXSize(), most);
    const int rows = std::min(band.GetYSize(), most);
    const int largest = band.GetRasterDataType() == GDT_Byte ? 0xFF : 0xFFFF;
    std::vector<unsigned short> samples(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
    const GdalErrors errors;
    for (int place = 0; place < places * places; ++place) {
        const int column = (band.GetXSize() - columns) * (place % places) / (places - 1);
        const int row = (band.GetYSize() - rows) * (place / places) / (places - 1);
        if (band.RasterIO(GF_Read, column, row, columns, rows, samples.data(), columns, rows, GDT_UInt16, 0,
                          0, nullptr) != CE_None)
            return true; // reading it again will tell why
        if (!std::all_of(samples.begin(), samples.end(),
                         [largest](int sample) { return sample == 0 || sample == largest; }))
            return false;
    }
    return true;
}

/// Null without one. GDAL takes a last band for the mask of the others in files of two and four bands only.
GDALRasterBand* FindTransparency(GDALDataset& dataset) {
    for (int number = 1; number <= dataset.GetRasterCount(); ++number)
        if (GDALRasterBand* band = dataset.GetRasterBand(number); IsTransparency(*band)) return band;
    return nullptr;
}

/// What the file declares of a band, or the options in its place.
void FindNoData(const SampleOptions& options, GDALRasterBand* transparency, SourceBand& source) {
    if (options.isIgnored) return;
    int isDeclared = options.value ? 1 : 0;
    const double value = options.value ? *options.value : source.band->GetNoDataValue(&isDeclared);
    if (options.scale) {
        if (isDeclared) source.rawNoData = value;
        source.noData = 0;
        isDeclared = 0;
    }
    const bool isSigned = source.band->GetRasterDataType() == GDT_Int16;
    const bool isByte = source.band->GetRasterDataType() == GDT_Byte;
    const double least = isSigned ? -32768.0 : 0.0;
    const double greatest = isByte ? 255.0 : (isSigned ? 32767.0 : 65535.0);
    if (isDeclared && value == std::floor(value) && value >= least && value <= greatest)
        source.noData = static_cast<int>(value);
    if (options.value) return;
    const int flags = source.band->GetMaskFlags();
    const bool isOfValues = (flags & GMF_NODATA) != 0 && (flags & GMF_PER_DATASET) == 0;
    if ((flags & (GMF_ALL_VALID | GMF_ALPHA)) == 0 && !isOfValues)
        source.mask = source.band->GetMaskBand();
    else
        source.mask = transparency;
}

} // namespace

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
    GDALRasterBand* transparency = FindTransparency(dataset);
    for (int number = input.band.value_or(1); number <= input.band.value_or(count); ++number) {
        SourceBand source{&dataset, dataset.GetRasterBand(number), number, input.file, {}, {}, {}, nullptr};
        if (!input.band && count > 1 && source.band == transparency) continue;
        source.description = source.band->GetDescription();
        if (source.description.empty() && count == 1) source.description = CPLGetBasename(input.file.c_str());
        if (!CheckBand(source, role, status)) return false;
        FindNoData(options, transparency, source);
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
    const bool isTaken = options.scale ? !GDALDataTypeIsComplex(type)
                                       : type == GDT_Byte || type == GDT_UInt16 || type == GDT_Int16;
    if (double range[2] = {}; !isTaken && !options.scale && !GDALDataTypeIsComplex(type) &&
                              source.band->ComputeRasterMinMax(TRUE, range) == CE_None)
        return refuse(
            FormatString("holds %s samples, in part of the file from %.6g to %.6g; 8 and 16 bits are "
                         "supported: name a range that all inputs keep to with --scale MIN,MAX, "
                         "such as --scale %.6g,%.6g, or convert it with gdal_translate -ot UInt16 -scale",
                         GDALGetDataTypeName(type), range[0], range[1], std::min(range[0], 0.0),
                         range[1] + (range[1] - std::min(range[0], 0.0)) / 4.0));
    if (!isTaken)
        return refuse(FormatString(
            options.scale ? "holds %s samples, which are pairs of numbers; take the first of each with "
                            "gdal_translate -ot Float32"
                          : "holds %s samples; 8 and 16 bits are supported: name the range of the values "
                            "with --scale MIN,MAX, or convert it with gdal_translate -ot UInt16 -scale",
            GDALGetDataTypeName(type)));
    if (const char* pixelType = source.band->GetMetadataItem("PIXELTYPE", "IMAGE_STRUCTURE");
        pixelType && !options.scale && std::string(pixelType) == "SIGNEDBYTE")
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
           (options.scale || same("bits per sample", GDALGetDataTypeSizeBits(type),
                                  GDALGetDataTypeSizeBits(first.band->GetRasterDataType())));
}

bool InputImage::Describe(const char* role, Status& status) {
    if (bands.empty())
        return Fail(status, HostStatus::RequestInvalid, FormatString("no %s file was given", role));
    GDALRasterBand& band = *bands.front().band;
    info.cols = static_cast<std::uint32_t>(band.GetXSize());
    info.rows = static_cast<std::uint32_t>(band.GetYSize());
    info.bandsPerPixel = static_cast<std::uint32_t>(bands.size());
    info.bitsPerBand =
        options.scale ? 16u : static_cast<std::uint32_t>(GDALGetDataTypeSizeBits(band.GetRasterDataType()));
    info.colorSpace = bands.size() == 1 ? 0 : 1;
    return Georeference(status);
}

bool InputImage::IsAtPlaceOfFirst(const GDALDataset& file) const {
    auto& dataset = const_cast<GDALDataset&>(file);
    std::array<double, 6> here{};
    const bool hasTransform = dataset.GetGeoTransform(here.data()) == CE_None;
    const OGRSpatialReference* reference = dataset.GetSpatialRef();
    bool agrees = hasTransform == geoTransform.has_value() &&
                  IsSameProjection(projection, reference ? *reference : OGRSpatialReference());
    // Georeferencing that was written and read again differs in its last digits.
    for (std::size_t i = 0; agrees && hasTransform && i < here.size(); ++i)
        agrees = std::fabs(here[i] - (*geoTransform)[i]) <=
                 1e-6 * std::hypot((*geoTransform)[1], (*geoTransform)[4]);
    return agrees;
}

bool InputImage::SharesGridWith(const InputImage& other) const {
    return info.cols == other.info.cols && info.rows == other.info.rows &&
           hasControlPoints == other.hasControlPoints && IsAtPlaceOfFirst(*other.files.front().dataset);
}

bool InputImage::Georeference(Status& status) {
    GDALDataset& first = *files.front().dataset;
    std::array<double, 6> here{};
    if (first.GetGeoTransform(here.data()) == CE_None) geoTransform = here;
    hasControlPoints = !geoTransform && first.GetGCPCount() > 0;
    if (const OGRSpatialReference* reference =
            hasControlPoints ? first.GetGCPSpatialRef() : first.GetSpatialRef())
        projection = *reference;
    for (const OpenFileEntry& file : files)
        if (&file != &files.front() && !IsAtPlaceOfFirst(*file.dataset))
            return Fail(status, HostStatus::InputsDoNotFit,
                        FormatString("'%s' and '%s' do not lie at the same place; bands from several files "
                                     "must share corner, pixel size and projection",
                                     file.name.c_str(), files.front().name.c_str()));
    isNorthUp = !hasControlPoints &&
                (!geoTransform || (here[2] == 0.0 && here[4] == 0.0 && here[1] > 0.0 && here[5] < 0.0));
    const std::array<double, 6> pixels{0.0, 1.0, 0.0, 0.0, 0.0, -1.0};
    const std::array<double, 6> grid = isNorthUp ? geoTransform.value_or(pixels) : pixels;
    info.xMin = grid[0];
    info.xMax = grid[0] + info.cols * grid[1];
    info.yMin = grid[3] + info.rows * grid[5];
    info.yMax = grid[3];
    info.pixelSizeX = grid[1];
    info.pixelSizeY = -grid[5];
    const bool isPlace =
        std::all_of(here.begin(), here.end(), [](double part) { return std::isfinite(part); }) &&
        std::isfinite(info.xMax) && std::isfinite(info.yMin) && info.xMax > info.xMin &&
        info.yMax > info.yMin;
    return isPlace ||
           Fail(status, HostStatus::InputNotSupported,
                FormatString("the position of %s is damaged: its geotransform has parts that are no "
                             "numbers, or pixels of no size; set it anew with gdal_edit.py -a_ullr",
                             GetName().c_str()));
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

void InputImage::Reorder(const std::vector<std::size_t>& order) {
    std::vector<SourceBand> reordered;
    reordered.reserve(order.size());
    for (const std::size_t position : order)
        reordered.push_back(bands[position]);
    bands = std::move(reordered);
    info.bandsPerPixel = static_cast<std::uint32_t>(bands.size());
}

std::uint32_t InputImage::GetBitDepth() const {
    if (options.scale) return info.bitsPerBand;
    std::uint32_t depth = 0;
    for (const SourceBand& source : bands) {
        const char* declared = source.band->GetMetadataItem("NBITS", "IMAGE_STRUCTURE");
        const auto bits = declared ? static_cast<std::uint32_t>(std::max(0, atoi(declared))) : 0u;
        depth = std::max(depth, bits > 8 && bits < info.bitsPerBand ? bits : info.bitsPerBand);
    }
    return depth;
}

bool InputImage::MayLackData() const {
    return collar || std::any_of(bands.begin(), bands.end(),
                                 [](const SourceBand& source) { return source.noData || source.mask; });
}

bool InputImage::DeclaresZerosOrMask() const {
    return std::any_of(bands.begin(), bands.end(),
                       [](const SourceBand& source) { return source.noData == 0 || source.mask; });
}

std::optional<int> InputImage::GetNoDataValue() const {
    for (const SourceBand& source : bands)
        if (source.noData) return source.noData;
    return std::nullopt;
}

bool InputImage::Read(const PixelRect& rect, unsigned char* out, Status& status) {
    return BandReader(bands, options, info.bitsPerBand).Read(rect, out, status);
}

bool InputImage::ReadValid(const PixelRect& rect, const unsigned char* samples, unsigned char* valid,
                           Status& status) {
    if (!BandReader(bands, options, info.bitsPerBand).ReadValid(rect, samples, valid, status)) return false;
    if (collar) collar->Clear(rect, valid);
    return true;
}

bool IsSameProjection(const OGRSpatialReference& a, const OGRSpatialReference& b) {
    if (a.IsEmpty() || b.IsEmpty()) return true;
    const char* const options[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES", "CRITERION=EQUIVALENT",
                                   nullptr};
    return a.IsSame(&b, options) != 0;
}

} // namespace rasterhost
