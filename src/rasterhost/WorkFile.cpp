#include "rasterhost/WorkFile.h"

#include "fundament/Text.h"
#include "rasterhost/FileState.h"
#include "rasterhost/GdalErrors.h"
#include "rasterhost/HostProcess.h"

#include <cpl_string.h>
#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <charconv>
#include <filesystem>
#include <system_error>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StartsWith;

namespace {

/// Removes files of a name that begins so and goes on with the number of a process that is no more.
void RemoveLeftovers(const std::filesystem::path& folder, const std::string& start) {
    std::error_code failure;
    std::filesystem::directory_iterator entries(folder.empty() ? "." : folder, failure);
    for (; !failure && entries != std::filesystem::directory_iterator(); entries.increment(failure)) {
        const std::string name = entries->path().filename().string();
        if (!StartsWith(name, start, false)) continue;
        int process = 0;
        const auto number = std::from_chars(name.data() + start.size(), name.data() + name.size(), process);
        std::error_code ignored;
        if (number.ec == std::errc() && StartsWith(number.ptr, ".tmp", false) && process > 0 &&
            !IsRunning(process) && entries->is_regular_file(ignored))
            std::filesystem::remove(entries->path(), ignored);
    }
}

} // namespace

WorkFile::WorkFile(const std::string& finalName, const std::string& ending) {
    const std::filesystem::path path(finalName);
    const std::string start = "." + path.stem().string() + ".pansharp-" + HostName() + "-";
    const std::string end = ending.empty() ? path.extension().string() : ending;
    name = (path.parent_path() / (start + FormatString("%d", OwnProcess()) + ".tmp" + end)).string();
    RemoveLeftovers(path.parent_path(), start);
}

WorkFile::~WorkFile() {
    if (isRenamed) return;
    const GdalErrors errors;
    if (LookAt(name).exists && GDALDriver::QuietDelete(name.c_str()) != CE_None) VSIUnlink(name.c_str());
}

bool WorkFile::Rename(const std::string& finalName, const std::string& format, Status& status) {
    const GdalErrors errors;
    bool isOneFile = true;
    if (GDALDatasetUniquePtr made(GDALDataset::Open(name.c_str(), GDAL_OF_RASTER)); made) {
        const CPLStringList list(made->GetFileList());
        isOneFile = list.Count() == 1;
    }
    if (isOneFile) {
        isRenamed = VSIRename(name.c_str(), finalName.c_str()) == 0;
        // What lay beside a file that was overwritten described that one.
        for (const char* ending : {".aux.xml", ".ovr", ".msk"})
            if (const std::string beside = finalName + ending; isRenamed && LookAt(beside).exists)
                VSIUnlink(beside.c_str());
    } else {
        if (LookAt(finalName).exists) GDALDriver::QuietDelete(finalName.c_str());
        isRenamed = GetGDALDriverManager()
                        ->GetDriverByName(format.c_str())
                        ->Rename(finalName.c_str(), name.c_str()) == CE_None;
    }
    return isRenamed || Fail(status, HostStatus::OutputNotWritten,
                             FormatString("the finished output cannot be renamed to '%s'%s",
                                          finalName.c_str(), errors.Reason().c_str()));
}

} // namespace rasterhost
