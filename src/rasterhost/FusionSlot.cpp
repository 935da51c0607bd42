#include "rasterhost/FusionSlot.h"

#include "fundament/Text.h"
#include "hostkit/RequestRecord.h"

#include <cstring>

namespace rasterhost {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Pixmere::IRasterWorkspace;

FusionSlot::FusionSlot(const Scene& images, const hostkit::PluginLibrary& plugin,
                       const ProcessSettings& settings, Status& creation)
    : scene(images), pan(*images.pan), multispectral(*images.multispectral),
      infrared(images.infrared ? std::make_unique<GdalRaster>(*images.infrared) : nullptr),
      workspace(images.pan->GetInfo()), process(plugin, settings.properties, creation),
      pixelBytes(std::size_t{images.outputBands} * (images.pan->GetInfo().bitsPerBand / 8)),
      rowBytes(pixelBytes * images.pan->GetInfo().cols) {}

bool FusionSlot::FailedProcess(const char* what, Status& status) {
    Fail(status, HostStatus::ProcessFailed,
         FormatString("rows %u to %u cannot be fused: the plug-in fails to %s", window.row0, window.row1,
                      what));
    status.Append(process->GetStatus());
    return false;
}

bool FusionSlot::Init(std::uint32_t mostRows, Status& status) {
    if (!process) return Fail(status, HostStatus::ProcessFailed, "the plug-in makes no process");
    output.resize(rowBytes * mostRows);
    process->SetInputRaster(&pan);
    process->SetWorkspace(static_cast<IRasterWorkspace*>(&workspace));
    process->SetAoi(&request);
    return process->Init() != 0 || FailedProcess("initialize", status);
}

namespace {

bool ReadRect(const InputImage& image, GdalRaster& raster, const PixelRect& rect, Status& status) {
    if (raster.SetWindow(rect.col0, rect.row0, rect.col1, rect.row1) != 0) return true;
    Fail(status, HostStatus::InputNotRead,
         FormatString("%s cannot be read; is the file complete?", image.GetName().c_str()));
    status.Append(raster.GetStatus());
    return false;
}

} // namespace

bool FusionSlot::ReadSource(const InputImage& image, GdalRaster& raster, const char* imageId,
                            Status& status) {
    const auto placement = hostkit::PlaceGrids(scene.pan->GetInfo(), image.GetInfo());
    if (!ReadRect(image, raster, hostkit::SourceRect(placement, window, image.GetInfo()), status))
        return false;
    workspace.SetImage(imageId, {image.GetInfo(), raster.GetBlock()});
    return true;
}

bool FusionSlot::Read(std::uint32_t firstRow, std::uint32_t endRow, Status& status) {
    window = {0, firstRow, scene.pan->GetInfo().cols, endRow};
    if (!ReadRect(*scene.pan, pan, window, status) ||
        !ReadSource(*scene.multispectral, multispectral, multispectralId, status))
        return false;
    if (infrared && !ReadSource(*scene.infrared, *infrared, infraredId, status)) return false;
    // The process takes the bounds from this record and the size from the window.
    request = hostkit::MakeRequest(scene.pan->GetInfo(), window);
    return true;
}

bool FusionSlot::Fuse(Status& status) {
    tally.assign(scene.outputBands, {0, 0});
    const bool isCovered = window.row0 < scene.covered.row1 && window.row1 > scene.covered.row0;
    if (isCovered && process->SetWindow(window.col0, window.row0, window.col1, window.row1) == 0)
        return FailedProcess("set the window", status);
    for (std::uint32_t row = window.row0; row < window.row1; ++row) {
        unsigned char* out = output.data() + (row - window.row0) * rowBytes;
        if (row < scene.covered.row0 || row >= scene.covered.row1) {
            std::memset(out, 0, rowBytes);
            continue;
        }
        const unsigned char* samples = process->GetRow(row);
        if (!samples) return FailedProcess("deliver a row", status);
        TakeRow(samples, out);
    }
    return true;
}

void FusionSlot::TakeRow(const unsigned char* samples, unsigned char* out) {
    const PixelRect& covered = scene.covered;
    const std::size_t before = covered.col0 * pixelBytes;
    const std::size_t bytes = covered.GetColumns() * pixelBytes;
    std::memset(out, 0, before);
    std::memcpy(out + before, samples + before, bytes);
    std::memset(out + before + bytes, 0, rowBytes - before - bytes);
    if (scene.pan->GetInfo().bitsPerBand == 8)
        CountLimits(out + before, covered.GetColumns(), tally);
    else
        CountLimits(reinterpret_cast<const unsigned short*>(out + before), covered.GetColumns(), tally);
}

} // namespace rasterhost
