#include "rasterhost/writing/OutputFormat.h"

#include "fundament/Text.h"
#include "rasterhost/requests/Operation.h"

#include <cpl_string.h>
#include <gdal_priv.h>

#include <algorithm>
#include <filesystem>

namespace rasterhost {

using KOVA::Tessara::Fundament::StringsEqual;

namespace {

const OutputFormat knownFormats[] = {
    {.name = "GTiff", .isTiff = true, .softwareItem = tiffSoftwareItem},
    {.name = "COG", .softwareItem = tiffSoftwareItem},
    {.name = "JP2OpenJPEG",
     .qualityOptions = {"QUALITY", "REVERSIBLE", "YCBCR420"},
     .exactOptions = {"QUALITY=100", "REVERSIBLE=YES"}},
    {.name = "JPEG", .keptBits = 12},
    {.name = "WEBP",
     .keptBits = 8,
     .qualityOptions = {"QUALITY", "LOSSLESS", "TARGETSIZE", "PSNR"},
     .exactOptions = {"LOSSLESS=YES"}},
    {.name = "GPKG", .qualityOptions = {"QUALITY", "TILE_FORMAT"}, .exactOptions = {"TILE_FORMAT=PNG"}},
    {.name = "MBTiles", .qualityOptions = {"QUALITY", "TILE_FORMAT"}, .exactOptions = {"TILE_FORMAT=PNG"}},
};

/// Empty when no format has the extension.
std::string FormatOfName(const std::string& ending) {
    if (ending.size() < 2) return "GTiff";
    GDALDriverManager& drivers = *GetGDALDriverManager();
    for (int i = 0; i < drivers.GetDriverCount(); ++i) {
        GDALDriver& driver = *drivers.GetDriver(i);
        if (!driver.GetMetadataItem(GDAL_DCAP_RASTER) ||
            !(driver.GetMetadataItem(GDAL_DCAP_CREATE) || driver.GetMetadataItem(GDAL_DCAP_CREATECOPY)))
            continue;
        const char* known = driver.GetMetadataItem(GDAL_DMD_EXTENSIONS);
        if (!known) known = driver.GetMetadataItem(GDAL_DMD_EXTENSION);
        if (CPLStringList(CSLTokenizeString2(known, " ", 0)).FindString(ending.c_str() + 1) >= 0)
            return driver.GetDescription();
    }
    return {};
}

} // namespace

std::optional<OutputFormat> FindFormat(const OutputRequest& request, Status& status) {
    OutputFormat format;
    format.name = request.format;
    const std::string ending = std::filesystem::path(request.output).extension().string();
    if (format.name.empty()) format.name = FormatOfName(ending);
    if (format.name.empty()) {
        Fail(status, HostStatus::OutputRefused,
             "the ending '%s' of the output '%s' belongs to no format that can be written; name the format "
             "with --of, such as GTiff",
             ending.c_str(), request.output.c_str());
        return std::nullopt;
    }
    const auto* known = std::find_if(std::begin(knownFormats), std::end(knownFormats), [&](const auto& each) {
        return StringsEqual(each.name, format.name, true);
    });
    if (known != std::end(knownFormats)) format = *known;
    if (!request.format.empty()) format.name = request.format; // as typed
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(format.name.c_str());
    format.isCopied =
        driver && !driver->GetMetadataItem(GDAL_DCAP_CREATE) && driver->GetMetadataItem(GDAL_DCAP_CREATECOPY);
    return format;
}

std::string UsualEnding(const std::string& format) {
    RegisterDrivers();
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(format.c_str());
    if (!driver) return ".tif";
    for (const char* item : {GDAL_DMD_EXTENSION, GDAL_DMD_EXTENSIONS})
        if (const CPLStringList endings(CSLTokenizeString(driver->GetMetadataItem(item))); !endings.empty())
            return std::string(".") + endings[0];
    return "." + std::string(CPLString(format).tolower()); // ENVI and others have none of their own
}

} // namespace rasterhost
