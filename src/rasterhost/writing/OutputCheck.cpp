#include "rasterhost/writing/OutputCheck.h"

#include "fundament/Text.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/reading/NetworkFile.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/writing/CogWriter.h"
#include "rasterhost/writing/OutputTrial.h"

#include <gdal_priv.h>

#include <filesystem>
#include <system_error>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StartsWith;

namespace {

bool Refuse(Status& status, const std::string& message) {
    return Fail(status, HostStatus::OutputRefused, message);
}

/// GDAL only warns of an unknown option, and then writes a file that differs from the request.
bool CheckCreationOptions(GDALDriver& driver, const OutputPlan& plan, Status& status) {
    const GdalErrors errors;
    if (plan.options.empty() || GDALValidateCreationOptions(&driver, plan.options.List())) return true;
    return Refuse(status,
                  FormatString("the creation options cannot be used%s; gdalinfo --format %s lists them",
                               errors.Warning().c_str(), plan.format.name.c_str()));
}

bool CheckFormat(const OutputPlan& plan, Status& status) {
    const char* name = plan.format.name.c_str();
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(name);
    if (!driver || !driver->GetMetadataItem(GDAL_DCAP_RASTER))
        return Refuse(status,
                      FormatString("there is no raster format '%s'; gdalinfo --formats lists them", name));
    if (!driver->GetMetadataItem(GDAL_DCAP_CREATE) && !plan.format.isCopied)
        return Refuse(status, FormatString("GDAL reads the format '%s' but does not write it; gdalinfo "
                                           "--formats lists those with a w",
                                           name));
    // For nearly all programs, a JPEG of 12 bits is another format.
    if (plan.bits > plan.format.keptBits && !plan.isPicture)
        return Refuse(status,
                      FormatString("the format '%s' keeps %u of the %u bits of a sample%s; --byte makes 8 "
                                   "bits of them, to be looked at, and GTiff and PNG keep all",
                                   name, plan.format.keptBits, plan.bits,
                                   plan.format.keptBits > 8 ? ", in files that few programs open" : ""));
    return CheckCreationOptions(*driver, plan, status);
}

bool CheckFolder(const SharpenRequest& request, const OutputPlan& plan, Status& status) {
    if (StartsWith(request.output, "/vsimem/", false)) return true;
    std::string folder = FolderToWorkIn(request.output);
    if (folder.empty()) folder = ".";
    const bool isStored = IsOnObjectStorage(request.output);
    if (!LookAt(folder).isFolder)
        return Refuse(status, FormatString(isStored ? "the folder for temporary files '%s' does not exist; "
                                                      "set TMPDIR to one that does"
                                                    : "the folder '%s' of the output does not exist; make it "
                                                      "first",
                                           folder.c_str()));
    std::error_code failure;
    const auto space = std::filesystem::space(folder, failure);
    // Uncompressed pixels take exactly these bytes, beside the final name.
    const bool isKnown = plan.writesTiff && !plan.isCompressed;
    const std::uint64_t needed = !isKnown         ? 0
                                 : plan.writesCog ? CogWriter::CountStored(plan)
                                                  : plan.GetBytes();
    if (failure || space.capacity == 0 || space.available >= needed) return true;
    constexpr double megabyte = 1e6;
    return Refuse(status,
                  FormatString("the output '%s' takes %.0f MB and the folder '%s' has room for %.0f MB; make "
                               "room, or %s",
                               request.output.c_str(), static_cast<double>(needed) / megabyte, folder.c_str(),
                               static_cast<double>(space.available) / megabyte,
                               isStored ? "set TMPDIR to a folder elsewhere" : "write it elsewhere"));
}

bool CheckName(const SharpenRequest& request, Status& status) {
    const std::string& name = request.output;
    if (name.empty()) return Refuse(status, "no output file was named");
    if (StartsWith(name, "/vsi", false) && !StartsWith(name, "/vsimem/", false) && !IsOnObjectStorage(name))
        return Refuse(status, FormatString("the output '%s' is neither in the file system nor on object "
                                           "storage (s3://, gs://, /vsis3/, /vsigs/, /vsioss/, "
                                           "/vsiswift/); write it there and copy it",
                                           name.c_str()));
    RunFiles files = FilesOf(request);
    return CheckNewFile(name, "the output '" + name + "'", request.overwrite, files, status);
}

/// Checks everything that has the name of one of the output's files.
bool CheckNames(const SharpenRequest& request, const WorkFolder& folder, std::vector<std::string> names,
                Status& status) {
    RunFiles files = FilesOf(request);
    const std::string mainName = std::filesystem::path(folder.GetPlace()).filename().string();
    for (const std::string& name : NamesOfDescriptions(mainName))
        names.push_back(name);
    for (const std::string& name : names)
        if (name != mainName &&
            !CheckNewFile(folder.GetPlace(name),
                          "the file '" + folder.GetPlace(name) + "' of the output '" + request.output + "'",
                          request.overwrite, files, status))
            return false;
    return true;
}

} // namespace

bool CheckNewFile(const std::string& name, const std::string& what, bool overwrite, RunFiles& files,
                  Status& status) {
    const auto refuse = [&](const std::string& why) { return Refuse(status, what + " " + why); };
    if (const std::string use = files.FindUse(name); !use.empty())
        return refuse("is " + use + "; choose another name");
    std::string fault;
    const FileState state = LookAnew(name, fault);
    if (!fault.empty()) return refuse("may exist, but the storage does not say; try again later: " + fault);
    if (state.isFolder) return refuse("is a folder; name a file in it");
    if (state.exists && !state.isFile)
        return refuse("is a device, not a file that can be replaced; choose another name");
    return !state.exists || overwrite ||
           refuse("exists; choose another name, or allow it to be overwritten (--overwrite)");
}

std::unique_ptr<WorkFolder> PrepareOutput(const SharpenRequest& request, const Scene& scene, OutputPlan& plan,
                                          Status& status) {
    if (!CheckName(request, status) || !CheckFolder(request, plan, status) || !CheckFormat(plan, status))
        return nullptr;
    auto folder = WorkFolder::Make(request.output, status);
    std::vector<std::string> names;
    const bool isGood = folder && (StartsWith(request.output, "/vsimem/", false) ||
                                   (TryOutput(request, scene, plan, *folder, names, status) &&
                                    CheckNames(request, *folder, names, status)));
    return isGood ? std::move(folder) : nullptr;
}

} // namespace rasterhost
