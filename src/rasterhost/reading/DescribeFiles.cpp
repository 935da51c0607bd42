#include "rasterhost/reading/DescribeFiles.h"

#include "fundament/Text.h"
#include "rasterhost/reading/BandNames.h"
#include "rasterhost/reading/FindScale.h"
#include "rasterhost/requests/GdalErrors.h"

#include <cpl_conv.h>
#include <gdal_priv.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StartsWith;

namespace {

/// Programs often mark four bands as red, green, blue and transparency although the last is near infrared. So
/// a band counts as transparency only when a regular sample of it contains just 0 and the largest value.
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
            return true; // reading it again will report the error
        if (!std::all_of(samples.begin(), samples.end(),
                         [largest](int sample) { return sample == 0 || sample == largest; }))
            return false;
    }
    return true;
}

/// Null without one. GDAL uses a last band as the mask of the others only in files of two or four bands.
GDALRasterBand* FindTransparency(const std::string& file, GDALDataset& dataset,
                                 const SampleOptions& options) {
    if (options.transparency)
        if (const auto known = options.transparency->find(file); known != options.transparency->end())
            return known->second > 0 ? dataset.GetRasterBand(known->second) : nullptr;
    for (int number = 1; number <= dataset.GetRasterCount(); ++number)
        if (GDALRasterBand* band = dataset.GetRasterBand(number); IsTransparency(*band)) return band;
    return nullptr;
}

/// The value for no data that the file declares for a band, or the options instead.
void FindNoData(const SampleOptions& options, GDALRasterBand& band, GDALRasterBand* transparency,
                SourceBand& source) {
    if (options.isIgnored) return;
    int isDeclared = options.value ? 1 : 0;
    const double value = options.value ? *options.value : band.GetNoDataValue(&isDeclared);
    if (options.scale) {
        if (isDeclared) source.rawNoData = value;
        source.noData = 0;
        isDeclared = 0;
    }
    const bool isSigned = source.type == GDT_Int16;
    const bool isByte = source.type == GDT_Byte;
    const double least = isSigned ? -32768.0 : 0.0;
    const double greatest = isByte ? 255.0 : (isSigned ? 32767.0 : 65535.0);
    if (isDeclared && value == std::floor(value) && value >= least && value <= greatest)
        source.noData = static_cast<int>(value);
    if (options.value) return;
    const int flags = band.GetMaskFlags();
    const bool isOfValues = (flags & GMF_NODATA) != 0 && (flags & GMF_PER_DATASET) == 0;
    if ((flags & (GMF_ALL_VALID | GMF_ALPHA)) == 0 && !isOfValues) {
        source.mask = MaskKind::Mask;
        return;
    }
    if (!transparency) return;
    source.mask = MaskKind::Transparency;
    source.transparency = transparency->GetBand();
}

/// The command that makes samples count from black.
std::string TurnRound(GDALRasterBand& band) {
    const bool isOne = band.GetDataset()->GetRasterCount() == 1;
    const char* used = band.GetMetadataItem("NBITS", "IMAGE_STRUCTURE");
    const int bits = used ? std::atoi(used) : GDALGetDataTypeSizeBits(band.GetRasterDataType());
    if (isOne && bits == 8) return "gdal_translate -expand gray";
    return FormatString("gdal_calc.py -A FILE%s --calc=%d-A --NoDataValue=0 --outfile=OTHER",
                        isOne ? "" : " --allBands=A", (1 << bits) - 1);
}

bool CheckBand(const ImageDescription& image, const SourceBand& source, GDALRasterBand& band,
               const char* role, Status& status) {
    const auto refuse = [&](const std::string& what) {
        return Fail(status, HostStatus::InputNotSupported, "band %d of the %s file '%s' %s", source.number,
                    role, source.file.c_str(), what.c_str());
    };
    const GDALDataType type = source.type;
    const bool isTaken = image.options.scale ? !GDALDataTypeIsComplex(type)
                                             : type == GDT_Byte || type == GDT_UInt16 || type == GDT_Int16;
    if (double range[2] = {}; !isTaken && !image.options.scale && !GDALDataTypeIsComplex(type) &&
                              band.ComputeRasterMinMax(TRUE, range) == CE_None) {
        const SampleScale scale = ProposeScale(range[0], range[1]);
        return refuse(FormatString(
            image.options.takesScale
                ? "holds %s samples (from %.6g to %.6g in the part that was read), and only 8 and 16 "
                  "bits are supported: give the range of all inputs with --scale MIN,MAX, such as "
                  "--scale %.6g,%.6g, find it with --scale auto, or convert the file with "
                  "gdal_translate -ot UInt16 -scale"
                : "holds %s samples (from %.6g to %.6g in the part that was read), and only 8 and 16 "
                  "bits are supported: convert all the images alike, with a range that holds them all, as "
                  "with gdal_translate -ot UInt16 -scale %.6g %.6g 1 65535",
            GDALGetDataTypeName(type), range[0], range[1], scale.least, scale.greatest));
    }
    if (!isTaken)
        return refuse(FormatString(
            image.options.scale ? "holds %s samples, which are pairs of numbers; take the first of each with "
                                  "gdal_translate -ot Float32"
            : image.options.takesScale
                ? "holds %s samples, and only 8 and 16 bits are supported: give the range of the values with "
                  "--scale MIN,MAX, or convert the file with gdal_translate -ot UInt16 -scale"
                : "holds %s samples, and only 8 and 16 bits are supported: convert the file with "
                  "gdal_translate -ot UInt16 -scale",
            GDALGetDataTypeName(type)));
    if (const char* pixelType = band.GetMetadataItem("PIXELTYPE", "IMAGE_STRUCTURE");
        pixelType && !image.options.scale && std::string(pixelType) == "SIGNEDBYTE")
        return refuse("holds signed bytes, and only unsigned samples of 8 and 16 bits are supported: convert "
                      "the file with gdal_translate -ot UInt16 -scale");
    // GDAL shows samples that are counted from white by a palette.
    if (const char* white = band.GetDataset()->GetMetadataItem("MINISWHITE", "IMAGE_STRUCTURE");
        white && CPLTestBool(white) && band.GetColorTable())
        return refuse("is counted from white (MINISWHITE), so its brightest samples are the smallest: turn "
                      "it round with " +
                      TurnRound(band));
    const bool isOneBand = EQUAL(role, "pan") || EQUAL(role, "infrared");
    if (band.GetColorTable())
        return refuse(FormatString("holds palette numbers, not intensities: expand it with gdal_translate "
                                   "-expand %s",
                                   isOneBand ? "gray" : "rgb"));
    if (image.bands.empty()) return true;
    const SourceBand& first = image.bands.front();
    const auto columns = static_cast<int>(image.info.cols), rows = static_cast<int>(image.info.rows);
    const auto same = [&](const char* what, int here, int there) {
        return here == there || refuse(FormatString("differs in %s (%d) from '%s' (%d); all bands must agree",
                                                    what, here, first.file.c_str(), there));
    };
    return same("width", band.GetXSize(), columns) && same("height", band.GetYSize(), rows) &&
           (image.options.scale ||
            same("bits per sample", GDALGetDataTypeSizeBits(type), GDALGetDataTypeSizeBits(first.type)));
}

/// A band's central wavelength in micrometres, as reported by GDAL.
std::optional<double> WavelengthOf(GDALRasterBand& band) {
    const char* text = band.GetMetadataItem(wavelengthItem, imageryDomain);
    double unit = 1.0;
    if (!text) {
        text = band.GetMetadataItem("wavelength");
        const char* units = band.GetMetadataItem("wavelength_units");
        if (units && StartsWith(units, "nano", true)) unit = 1e-3;
    }
    const double value = text ? CPLAtof(text) * unit : 0.0;
    return value > 0.0 && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

/// The meaning of samples that the file declares; empty when it does not.
std::optional<SampleMeaning> MeaningOf(GDALRasterBand& band) {
    int hasScale = 0, hasOffset = 0;
    const SampleMeaning meaning{band.GetScale(&hasScale), band.GetOffset(&hasOffset)};
    const bool isUsable = (hasScale || hasOffset) && meaning != SampleMeaning() && meaning.scale != 0.0 &&
                          std::isfinite(meaning.scale) && std::isfinite(meaning.offset);
    return isUsable ? std::optional(meaning) : std::nullopt;
}

/// If a colour says transparency but the band is none, the program that set the colours did not know them.
bool AreColoursMeant(GDALDataset& dataset, const GDALRasterBand* transparency) {
    for (int number = 1; number <= dataset.GetRasterCount(); ++number)
        if (GDALRasterBand* band = dataset.GetRasterBand(number);
            band != transparency && band->GetColorInterpretation() == GCI_AlphaBand)
            return false;
    return true;
}

/// Names a band from what the request knows; else from the description, the wavelength, the stem of the file,
/// or the colour.
void NameBand(const InputBand& input, GDALDataset& dataset, bool areColoursMeant, SourceBand& source) {
    GDALRasterBand& band = *dataset.GetRasterBand(source.number);
    source.wavelength = input.wavelength ? input.wavelength : WavelengthOf(band);
    source.meaning = input.meaning ? input.meaning : MeaningOf(band);
    source.name = input.band || dataset.GetRasterCount() == 1 ? input.name : std::string();
    if (!source.name.empty()) source.description = source.name;
    if (source.name.empty()) source.name = NameInDescription(band.GetDescription());
    if (source.name.empty() && source.wavelength) source.name = NameOfWavelength(*source.wavelength);
    if (source.name.empty() && dataset.GetRasterCount() == 1)
        source.name = NameAtEnd(CPLGetBasename(input.file.c_str()));
    if (source.name.empty() && areColoursMeant) source.name = NameOfColour(source.colour);
    if (source.description.empty()) source.description = source.name;
}

SourceBand DescribeBand(const InputBand& input, GDALDataset& dataset, int number) {
    GDALRasterBand& band = *dataset.GetRasterBand(number);
    SourceBand source;
    source.number = number;
    source.file = input.file;
    source.description = band.GetDescription();
    if (source.description.empty() && dataset.GetRasterCount() == 1)
        source.description = CPLGetBasename(input.file.c_str());
    source.type = band.GetRasterDataType();
    source.colour = band.GetColorInterpretation();
    const auto all = static_cast<std::uint32_t>(GDALGetDataTypeSizeBits(source.type));
    const char* declared = band.GetMetadataItem("NBITS", "IMAGE_STRUCTURE");
    const auto bits = declared ? static_cast<std::uint32_t>(std::max(0, atoi(declared))) : 0u;
    source.bits = bits > 8 && bits < all ? bits : all;
    int width = 0, height = 0;
    band.GetBlockSize(&width, &height);
    source.blockRows = static_cast<std::uint32_t>(height);
    return source;
}

bool IsAtPlaceOf(const ImageDescription& image, GDALDataset& file) {
    std::array<double, 6> here{};
    std::optional<std::array<double, 6>> place;
    if (file.GetGeoTransform(here.data()) == CE_None) place = here;
    const OGRSpatialReference* reference = file.GetSpatialRef();
    return image.IsAt(place, reference ? *reference : OGRSpatialReference());
}

bool Georeference(const std::vector<GDALDataset*>& files, ImageDescription& image, Status& status) {
    GDALDataset& first = *files.front();
    auto& info = image.info;
    std::array<double, 6> here{};
    if (first.GetGeoTransform(here.data()) == CE_None) image.geoTransform = here;
    image.hasControlPoints = !image.geoTransform && first.GetGCPCount() > 0;
    if (const OGRSpatialReference* reference =
            image.hasControlPoints ? first.GetGCPSpatialRef() : first.GetSpatialRef())
        image.projection = *reference;
    for (std::size_t file = 1; file < files.size(); ++file)
        if (!IsAtPlaceOf(image, *files[file]))
            return Fail(status, HostStatus::InputsDoNotFit,
                        "'%s' and '%s' do not lie at the same place; bands from several files "
                        "must share corner, pixel size and projection",
                        image.files[file].c_str(), image.files.front().c_str());
    image.isNorthUp =
        !image.hasControlPoints &&
        (!image.geoTransform || (here[2] == 0.0 && here[4] == 0.0 && here[1] > 0.0 && here[5] < 0.0));
    const std::array<double, 6> pixels{0.0, 1.0, 0.0, 0.0, 0.0, -1.0};
    const std::array<double, 6> grid = image.isNorthUp ? image.geoTransform.value_or(pixels) : pixels;
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
    return isPlace || Fail(status, HostStatus::InputNotSupported,
                           "the position of %s is damaged: its geotransform has parts that are not numbers, "
                           "or pixels of size 0; set it again with gdal_edit.py -a_ullr",
                           image.GetName().c_str());
}

} // namespace

bool AddBands(const InputBand& input, GDALDataset& dataset, const char* role, ImageDescription& image,
              Status& status) {
    const int count = dataset.GetRasterCount();
    if (count == 0)
        return Fail(status, HostStatus::InputNotSupported,
                    "the %s file '%s' has no raster band; when it holds several rasters, give the "
                    "name of one as gdalinfo lists them",
                    role, input.file.c_str());
    if (input.band && (*input.band < 1 || *input.band > count))
        return Fail(status, HostStatus::InputNotSupported,
                    "the %s file '%s' has no band %d; its bands are 1 to %d", role, input.file.c_str(),
                    *input.band, count);
    GDALRasterBand* transparency = FindTransparency(input.file, dataset, image.options);
    image.transparency[input.file] = transparency ? transparency->GetBand() : 0;
    const bool areColoursMeant = AreColoursMeant(dataset, transparency);
    for (int number = input.band.value_or(1); number <= input.band.value_or(count); ++number) {
        GDALRasterBand& band = *dataset.GetRasterBand(number);
        if (!input.band && count > 1 && &band == transparency) continue;
        SourceBand source = DescribeBand(input, dataset, number);
        NameBand(input, dataset, areColoursMeant, source);
        if (!CheckBand(image, source, band, role, status)) return false;
        FindNoData(image.options, band, transparency, source);
        if (image.bands.empty()) {
            image.info.cols = static_cast<std::uint32_t>(band.GetXSize());
            image.info.rows = static_cast<std::uint32_t>(band.GetYSize());
        }
        image.bands.push_back(std::move(source));
    }
    return true;
}

bool DescribeAll(const std::vector<GDALDataset*>& files, const char* role, ImageDescription& image,
                 Status& status) {
    if (image.bands.empty()) return Fail(status, HostStatus::RequestInvalid, "no %s file was given", role);
    image.info.bandsPerPixel = static_cast<std::uint32_t>(image.bands.size());
    image.info.bitsPerBand =
        image.options.scale ? 16u
                            : static_cast<std::uint32_t>(GDALGetDataTypeSizeBits(image.bands.front().type));
    image.info.colorSpace = image.bands.size() == 1 ? 0 : 1;
    return Georeference(files, image, status);
}

} // namespace rasterhost
