#include "rasterhost/serving/SceneFile.h"

#include "fundament/Text.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/reading/NetworkFile.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/serving/RecordedName.h"
#include "rasterhost/serving/SceneRecordJson.h"
#include "rasterhost/writing/OutputCheck.h"

#include <cpl_string.h>
#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <algorithm>
#include <memory>
#include <set>

namespace rasterhost {

using KOVA::Tessara::Fundament::StartsWith;
using KOVA::Tessara::Fundament::ToLower;

namespace {

constexpr std::size_t mostBytes = std::size_t{16} << 20;

struct CloseVsi {
    void operator()(VSILFILE* file) const { (void)VSIFCloseL(file); }
};

/// The first bytes of a file that is not a pipe; empty when it cannot be read.
std::string ReadStart(const std::string& name, std::size_t most) {
    const GdalErrors silence;
    if (!LookAt(name).isFile) return {};
    const std::unique_ptr<VSILFILE, CloseVsi> file(VSIFOpenL(name.c_str(), "rb"));
    constexpr std::size_t least = std::size_t{16} << 10;
    std::string text;
    for (bool isMore = file != nullptr; isMore && text.size() < most;) {
        const std::size_t before = text.size(), piece = std::min(most - before, std::max(before, least));
        text.resize(before + piece);
        text.resize(before + VSIFReadL(text.data() + before, 1, piece, file.get()));
        isMore = text.size() == before + piece;
    }
    return text;
}

std::vector<std::string> NamesOfInputs(const PairRequest& pair) {
    std::set<std::string> names{pair.pan.file};
    for (const InputBand& input : pair.multispectral)
        names.insert(input.file);
    if (pair.infrared) names.insert(pair.infrared->file);
    return {names.begin(), names.end()};
}

bool RefuseDescription(const std::string& input, const std::string& source, Status& status) {
    return Fail(status, HostStatus::InputNotSupported,
                "'%s' is a description of a scene%s%s; a scene is described by the images that it is made "
                "of: name those",
                source.c_str(), input == source ? "" : " and a source of the input ",
                input == source ? "" : ("'" + input + "'").c_str());
}

/// True for a format whose files contain their own pixels. Other formats may refer to files, servers or
/// databases that a list of files does not show.
bool HoldsItsPixels(GDALDriver& driver) {
    const char* name = driver.GetDescription();
    for (const char* known : {"GTiff", "COG", "JP2OpenJPEG", "JPEG", "PNG", "BMP", "NITF", "ENVI"})
        if (EQUAL(name, known)) return true;
    return false;
}

/// `driver` is the one that opens a file; null if none does.
bool CheckConfinedFormat(GDALDriver* driver, const std::string& file, Status& status) {
    return !driver || HoldsItsPixels(*driver) ||
           Fail(status, HostStatus::InputNotSupported,
                "'%s' is of the format %s, which may read further files, and PANSHARP_INPUT_ROOT confines "
                "inputs to a folder; make a GeoTIFF of it",
                file.c_str(), driver->GetDescription());
}

/// True for metadata that comes with an image, which GDAL reads but does not open as a dataset. Not true for
/// possible overviews.
bool IsMetadataOf(GDALDataset& dataset, const std::string& file) {
    return ToLower(file).ends_with(".xml") && !dataset.GetMetadataItem("OVERVIEW_FILE", "OVERVIEWS");
}

GDALDriver* FindOpener(const std::string& file) {
    const GdalErrors silence;
    return GDALDriver::FromHandle(GDALIdentifyDriverEx(file.c_str(), GDAL_OF_RASTER, nullptr, nullptr));
}

/// Checks the sources of inputs, and the sources of these.
class SourceCheck {
public:
    SourceCheck(std::string confiningFolder, Status& checkStatus)
        : root(std::move(confiningFolder)), status(checkStatus) {}

    bool Check(const std::string& input, GDALDataset& dataset, int level = 0) {
        if (!root.empty() && !CheckConfinedFormat(dataset.GetDriver(), input, status)) return false;
        for (const std::string& file : ListFiles(dataset))
            if (file != input && seen.insert(file).second)
                if (!CheckFile(input, dataset, file, level)) return false;
        return true;
    }

private:
    bool CheckFile(const std::string& input, GDALDataset& dataset, const std::string& file, int level) {
        constexpr int mostNested = 32;
        const std::string start = ReadStart(file, 256);
        if (LooksLikeRecord(start)) return RefuseDescription(input, file, status);
        if (!root.empty()) // formats with sources of their own are refused
            return CheckStaysIn(root, file, "a source of the input '" + input + "'", status) &&
                   (IsMetadataOf(dataset, file) || CheckConfinedFormat(FindOpener(file), file, status));
        if (start.find("<VRTDataset") == std::string::npos || level >= mostNested) return true;
        const GdalErrors silence;
        const GDALDatasetUniquePtr source(GDALDataset::Open(file.c_str(), GDAL_OF_RASTER));
        return !source || Check(file, *source, level + 1);
    }

    const std::string root;
    Status& status;
    std::set<std::string> seen;
};

bool Write(const std::string& name, const std::string& text) {
    VSILFILE* file = VSIFOpenL(name.c_str(), "wb");
    if (!file) return false;
    const bool isWritten = VSIFWriteL(text.data(), 1, text.size(), file) == text.size();
    return VSIFCloseL(file) == 0 && isWritten;
}

} // namespace

bool IsSceneFile(const std::string& name) { return LooksLikeRecord(ReadStart(name, recordStart)); }

bool ReadSceneFile(const std::string& name, SceneRecord& record, Status& status) {
    const std::string text = ReadStart(name, mostBytes + 1);
    if (text.empty())
        return Fail(status, HostStatus::InputNotOpened,
                    "the description '%s' is empty or cannot be opened; check the name", name.c_str());
    if (text.size() > mostBytes)
        return Fail(status, HostStatus::InputNotSupported,
                    "the description '%s' is larger than 16 MB, the most that a description may have",
                    name.c_str());
    if (!ReadRecord(text, name, record, status)) return false;
    const std::string root = GetInputRoot();
    for (const std::string& input : NamesOfInputs(record.pair)) {
        if (!root.empty() && !CheckStaysIn(root, input, "an input of the description '" + name + "'", status))
            return false;
        if (IsSceneFile(input)) return RefuseDescription(input, input, status);
        if (!root.empty() && !CheckConfinedFormat(FindOpener(input), input, status)) return false;
    }
    return true;
}

bool CheckSceneFile(const SharpenRequest& request, Status& status) {
    for (const std::string& input : NamesOfInputs(request))
        if (IsSceneFile(input)) return RefuseDescription(input, input, status);
    const std::string& name = request.output;
    const bool isInMemory = StartsWith(name, "/vsimem/", false);
    if (StartsWith(name, "/vsi", false) && !isInMemory)
        return Fail(status, HostStatus::OutputRefused,
                    "the output '%s' is not in the file system; write it there and copy it", name.c_str());
    if (!request.creationOptions.empty())
        return Fail(status, HostStatus::OutputRefused,
                    "a description of a scene has no creation options; leave them out");
    RunFiles files = FilesOf(request);
    if (!CheckNewFile(name, "the output '" + name + "'", request.overwrite, files, status)) return false;
    for (const std::string& beside : NamesOfDescriptions(name))
        if (!CheckNewFile(beside, "the file '" + beside + "', which would belong to the output,",
                          request.overwrite, files, status))
            return false;
    return true;
}

bool WriteSceneFile(const SceneRecord& record, const SharpenRequest& request,
                    const std::function<void(const std::string&)>& warn, Status& status) {
    std::string text;
    if (!CheckSceneFile(request, status) || !WriteRecord(record, request.output, text, status)) return false;
    const auto folder = WorkFolder::Make(request.output, status);
    if (!folder) return false;
    const GdalErrors errors;
    if (!Write(folder->GetFile(), text))
        return Fail(status, HostStatus::OutputNotWritten,
                    "the description '%s' cannot be written to its end; is there room?%s",
                    request.output.c_str(), errors.Reason().c_str());
    std::vector<std::string> removed;
    for (const std::string& beside : NamesOfDescriptions(folder->GetPlace()))
        if (LookAt(beside).exists) removed.push_back(beside);
    if (!folder->Deliver(request.overwrite, status)) return false;
    for (const std::string& beside : removed)
        warn("'" + beside + "' was removed: it belonged to the description that was replaced");
    return true;
}

bool CheckSources(const std::vector<std::pair<std::string, GDALDataset*>>& inputs, bool isConfined,
                  Status& status) {
    SourceCheck check(isConfined ? GetInputRoot() : std::string(), status);
    for (const auto& [name, dataset] : inputs)
        if (!check.Check(name, *dataset)) return false;
    return true;
}

} // namespace rasterhost
