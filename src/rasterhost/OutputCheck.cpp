#include "rasterhost/OutputCheck.h"

#include "fundament/Text.h"
#include "rasterhost/CreationOptions.h"
#include "rasterhost/FileState.h"
#include "rasterhost/GdalErrors.h"

#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <filesystem>
#include <system_error>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StartsWith;
using KOVA::Tessara::Fundament::StringsEqual;

namespace {

bool IsSameFile(const std::string& a, const std::string& b) {
    std::error_code failure;
    return a == b || std::filesystem::equivalent(a, b, failure);
}

bool Refuse(Status& status, const std::string& message) {
    return Fail(status, HostStatus::OutputRefused, message);
}

/// GDAL only warns of what it does not know, and writes a file that is not what was asked for.
bool CheckCreationOptions(GDALDriver& driver, const SharpenRequest& request, Status& status) {
    const CPLStringList options = ToOptionList(request.creationOptions);
    const GdalErrors errors;
    if (options.empty() || GDALValidateCreationOptions(&driver, options.List())) return true;
    return Refuse(status,
                  FormatString("the creation options cannot be used%s; gdalinfo --format %s lists them",
                               errors.Warning().c_str(), request.format.c_str()));
}

/// Formats that copy know only when they have the whole image whether they can hold it, so they are asked
/// with a small one.
bool CanCopy(GDALDriver& driver, const SharpenRequest& request, const Scene& scene, const OutputRules& rules,
             Status& status) {
    if (!driver.GetMetadataItem(GDAL_DCAP_VIRTUALIO)) return true;
    constexpr int size = 64;
    const GDALDataType type = scene.pan->GetInfo().bitsPerBand == 8 ? GDT_Byte : GDT_UInt16;
    const GdalErrors errors;
    GDALDatasetUniquePtr image(GetGDALDriverManager()->GetDriverByName("MEM")->Create(
        "", size, size, static_cast<int>(rules.GetFileBands()), type, nullptr));
    const CPLStringList options = ToOptionList(request.creationOptions);
    const std::string name = FormatString("/vsimem/pansharp-%p%s", static_cast<const void*>(&scene),
                                          std::filesystem::path(request.output).extension().c_str());
    GDALDatasetUniquePtr copy(
        driver.CreateCopy(name.c_str(), image.get(), FALSE, options.List(), nullptr, nullptr));
    const bool isMade = copy != nullptr;
    copy.reset();
    const std::string reason = errors.Reason();
    driver.QuietDelete(name.c_str());
    return (isMade && reason.empty()) ||
           Refuse(status, FormatString("the format '%s' cannot hold an image of %u bands of %u bits with the "
                                       "creation options given%s",
                                       request.format.c_str(), rules.GetFileBands(),
                                       scene.pan->GetInfo().bitsPerBand, reason.c_str()));
}

bool CheckFormat(const SharpenRequest& request, const Scene& scene, const OutputRules& rules,
                 Status& status) {
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(request.format.c_str());
    if (!driver || !driver->GetMetadataItem(GDAL_DCAP_RASTER))
        return Refuse(status, FormatString("there is no raster format '%s'; gdalinfo --formats lists them",
                                           request.format.c_str()));
    const bool isCreated = driver->GetMetadataItem(GDAL_DCAP_CREATE) != nullptr;
    if (!isCreated && !IsMadeByCopy(request.format))
        return Refuse(status,
                      FormatString("GDAL reads the format '%s' and does not write it; gdalinfo --formats "
                                   "lists those with a w",
                                   request.format.c_str()));
    return CheckCreationOptions(*driver, request, status) &&
           (isCreated || CanCopy(*driver, request, scene, rules, status));
}

/// Bytes that are going to be written as they are, beside the final name; 0 when compression decides.
std::uint64_t FindBytes(const SharpenRequest& request, const Scene& scene, const OutputRules& rules) {
    const bool isPlainTiff = StringsEqual(request.format, "GTiff", true) && !WritesCompressedTiff(request);
    if (!isPlainTiff && !IsMadeByCopy(request.format)) return 0;
    return std::uint64_t{scene.part.GetColumns()} * scene.part.GetRows() * rules.GetFileBands() *
           (scene.pan->GetInfo().bitsPerBand / 8);
}

bool CheckFolder(const SharpenRequest& request, const Scene& scene, const OutputRules& rules,
                 Status& status) {
    if (StartsWith(request.output, "/vsi", false)) return true;
    std::string folder = std::filesystem::path(request.output).parent_path().string();
    if (folder.empty()) folder = ".";
    if (!LookAt(folder).isFolder)
        return Refuse(status, FormatString("the folder '%s' of the output does not exist; make it first",
                                           folder.c_str()));
    std::error_code failure;
    const auto space = std::filesystem::space(folder, failure);
    const std::uint64_t needed = FindBytes(request, scene, rules);
    if (failure || space.capacity == 0 || space.available >= needed) return true;
    constexpr double megabyte = 1e6;
    return Refuse(status,
                  FormatString("the output '%s' takes %.0f MB and its folder has room for %.0f MB; make "
                               "room, or write it elsewhere",
                               request.output.c_str(), static_cast<double>(needed) / megabyte,
                               static_cast<double>(space.available) / megabyte));
}

bool CheckName(const SharpenRequest& request, const Scene& scene, Status& status) {
    const std::string& name = request.output;
    if (name.empty()) return Refuse(status, "no output file was named");
    std::vector<InputImage*> images = scene.GetCoarseImages();
    images.push_back(scene.pan.get());
    for (const InputImage* image : images)
        for (const std::string& input : image->GetFiles())
            if (IsSameFile(name, input))
                return Refuse(
                    status,
                    FormatString("the output '%s' is one of the inputs; choose another name", name.c_str()));
    const FileState state = LookAt(name);
    if (state.isFolder)
        return Refuse(status, FormatString("the output '%s' is a folder; name a file in it", name.c_str()));
    if (state.exists && !state.isFile)
        return Refuse(status,
                      FormatString("the output '%s' is a device, and not a file that could be replaced; "
                                   "choose another name",
                                   name.c_str()));
    return !state.exists || request.overwrite ||
           Refuse(status, FormatString("the output '%s' exists; choose another name, or allow it to be "
                                       "overwritten (--overwrite)",
                                       name.c_str()));
}

} // namespace

OutputRules MakeOutputRules(const SharpenRequest& request, const Scene& scene) {
    OutputRules rules;
    rules.bands = scene.outputBands;
    rules.largest = (1u << scene.bitDepth) - 1;
    rules.hasAlpha = request.alpha;
    if (request.alpha) return rules;
    const int most = scene.pan->GetInfo().bitsPerBand == 8 ? 0xFF : 0xFFFF;
    std::vector<InputImage*> images = scene.GetGrids();
    images.push_back(scene.pan.get());
    if (scene.infrared) images.push_back(scene.infrared.get());
    for (const InputImage* image : images) {
        const std::optional<int> value = image->GetNoDataValue();
        if (!rules.noData && value && *value >= 0 && *value <= most)
            rules.noData = static_cast<std::uint32_t>(*value);
    }
    return rules;
}

bool IsMadeByCopy(const std::string& format) {
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(format.c_str());
    return driver && !driver->GetMetadataItem(GDAL_DCAP_CREATE) &&
           driver->GetMetadataItem(GDAL_DCAP_CREATECOPY);
}

bool CheckOutput(const SharpenRequest& request, const Scene& scene, const OutputRules& rules,
                 Status& status) {
    return CheckName(request, scene, status) && CheckFolder(request, scene, rules, status) &&
           CheckFormat(request, scene, rules, status);
}

} // namespace rasterhost
