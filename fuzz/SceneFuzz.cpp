// Descriptions of scenes from untrusted sources. An accepted one is written and read again unchanged, and
// opened if all its inputs are the two images here.
#include "GeoTiffTables.h"
#include "Input.h"

#include "hostkit/PluginLibrary.h"
#include "rasterhost/serving/RecordedScene.h"
#include "rasterhost/serving/SceneRecordJson.h"
#include "support/RasterFiles.h"

#include <cpl_conv.h>

using fuzz::Require;
using KOVA::Tessara::Fundament::Status;
using rasterhost::SceneRecord;

namespace {

constexpr const char* file = "/vsimem/fuzz/scene.pansharp";

/// Creates the images that the corpus names, each with a collar; pan has pixels of half the size.
void WriteImages() {
    CPLSetConfigOption("GDAL_DISABLE_READDIR_ON_OPEN", "EMPTY_DIR");
    const auto write = [](const char* name, int columns, int bands) {
        testfiles::WriteRaster(
            std::string("/vsimem/fuzz/") + name,
            {columns, columns * 5 / 6, bands, GDT_Byte, testfiles::Grid(240.0 / columns, 1000.0, 2000.0), {}},
            [columns](int column, int row, int band) {
                return column + row < columns / 6 ? 0 : (column * 37 + row * 5 + band * 11) % 251 + 1;
            });
    };
    write("pan.tif", 24, 1);
    write("ms.tif", 12, 4);
    Status status;
    static const auto plugin = hostkit::PluginLibrary::Load(PANSHARP_PLUGIN_FILE, status);
    Require(plugin != nullptr, "the plug-in is there, and stays");
}

/// True when opening a record opens only the images here.
bool IsHere(const SceneRecord& record) {
    const auto isHere = [](const std::string& name) {
        return name == "/vsimem/fuzz/pan.tif" || name == "/vsimem/fuzz/ms.tif";
    };
    return isHere(record.pair.pan.file) &&
           std::all_of(record.files.begin(), record.files.end(),
                       [&](const rasterhost::FileFingerprint& print) { return isHere(print.name); });
}

void Open(const SceneRecord& record) {
    rasterhost::PreparedPair pair;
    rasterhost::RunOptions run;
    run.plugin = PANSHARP_PLUGIN_FILE;
    Status status;
    const auto ignore = [](const std::string&) {};
    const auto done = rasterhost::PrepareRecorded(record, run, ignore, pair, status);
    Require((done == rasterhost::Preparation::Done) == (status.GetCount() == 0), "a failure says why");
    if (done != rasterhost::Preparation::Done) return;
    rasterhost::SharpenRequest request = rasterhost::RequestOf(record);
    request.plugin = PANSHARP_PLUGIN_FILE;
    request.output = "/vsimem/fuzz/out.tif";
    request.creationOptions = {"TILED=NO"};
    request.threads = 1;
    rasterhost::SharpenReport report;
    if (rasterhost::Sharpen(request, report, status, nullptr, &record.found))
        VSIUnlink(request.output.c_str());
    else
        Require(status.GetCount() > 0 && status.GetItem(0).id != 0xB10B, "a failure is foreseen");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool isReady = (WriteImages(), true);
    fuzz::Drop(isReady);
    const std::string text(reinterpret_cast<const char*>(data), size);
    SceneRecord record, again;
    Status status;
    if (!rasterhost::ReadRecord(text, file, record, status)) {
        Require(status.GetCount() == 1 && status.GetItem(0).message.find(file) != std::string::npos,
                "a failure names the file");
        return 0;
    }
    std::string first, second;
    Require(rasterhost::WriteRecord(record, file, first, status), "what was read can be written");
    Require(rasterhost::ReadRecord(first, file, again, status) &&
                rasterhost::WriteRecord(again, file, second, status) && first == second,
            "what was written is read again");
    if (IsHere(record)) Open(record);
    return 0;
}
