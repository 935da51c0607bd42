#include "gdaldriver/DescriptionFiles.h"

#include "gdaldriver/StatusErrors.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/serving/RecordedScene.h"
#include "rasterhost/serving/SceneFile.h"

#include <cpl_vsi.h>

#include <string>

namespace gdaldriver {

namespace {

namespace HostStatus = rasterhost::HostStatus;
using rasterhost::Status;

constexpr const char* endings[] = {".aux.xml", ".ovr", ".msk"}; // of files that belong to a description

/// Records what went wrong, without the advice to give an option, which GDAL's programs do not have.
bool FailAsGdal(const Status& told, Status& status) {
    const std::string advice = "or allow it to be overwritten (--overwrite)";
    for (std::uint32_t i = 0; i < told.GetCount(); ++i) {
        auto item = told.GetItem(i);
        if (const auto at = item.message.find(advice); at != std::string::npos)
            item.message.replace(at, advice.size(), "or delete it first");
        status.Add(item);
    }
    return false;
}

bool Copy(const std::string& newName, const std::string& oldName, Status& status) {
    rasterhost::SceneRecord record;
    if (!rasterhost::ReadSceneFile(oldName, record, status)) return false;
    rasterhost::SharpenRequest request = rasterhost::RequestOf(record);
    request.output = newName;
    Status told;
    if (!rasterhost::WriteSceneFile(
            record, request, [](const std::string&) {}, told))
        return FailAsGdal(told, status);
    for (const char* ending : endings)
        if (rasterhost::LookAt(oldName + ending).isFile &&
            CPLCopyFile((newName + ending).c_str(), (oldName + ending).c_str()) != 0)
            return rasterhost::Fail(status, HostStatus::OutputNotWritten, "'%s' cannot be copied to '%s'",
                                    (oldName + ending).c_str(), (newName + ending).c_str());
    return true;
}

bool Delete(const std::string& name, Status& status) {
    if (!rasterhost::IsSceneFile(name))
        return rasterhost::Fail(status, HostStatus::InputNotOpened, "'%s' is not a description of a scene",
                                name.c_str());
    for (const char* ending : endings)
        if (rasterhost::LookAt(name + ending).isFile) VSIUnlink((name + ending).c_str());
    return VSIUnlink(name.c_str()) == 0 ||
           rasterhost::Fail(status, HostStatus::OutputNotWritten, "'%s' cannot be deleted", name.c_str());
}

} // namespace

CPLErr DeleteDescription(const char* name) {
    return RunReporting([&](Status& status) { return Delete(name, status); }) ? CE_None : CE_Failure;
}

CPLErr CopyDescription(const char* newName, const char* oldName) {
    return RunReporting([&](Status& status) { return Copy(newName, oldName, status); }) ? CE_None
                                                                                        : CE_Failure;
}

CPLErr RenameDescription(const char* newName, const char* oldName) {
    return RunReporting(
               [&](Status& status) { return Copy(newName, oldName, status) && Delete(oldName, status); })
               ? CE_None
               : CE_Failure;
}

} // namespace gdaldriver
