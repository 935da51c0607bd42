#include "rasterhost/writing/OutputFormat.h"

#include "fundament/Text.h"

#include <cpl_string.h>
#include <gdal_priv.h>

#include <filesystem>

namespace rasterhost {

std::string FormatOfName(const std::string& file, Status& status) {
    const std::string ending = std::filesystem::path(file).extension().string();
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
    Fail(status, HostStatus::OutputRefused,
         "no format that can be written has names that end in '%s', as the output '%s' does; "
         "name the format with --of, such as GTiff",
         ending.c_str(), file.c_str());
    return {};
}

} // namespace rasterhost
