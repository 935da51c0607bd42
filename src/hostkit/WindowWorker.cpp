#include "hostkit/WindowWorker.h"

#include "fundament/Text.h"
#include "hostkit/HostKitStatus.h"

namespace hostkit {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Global::NameValueMap;
using KOVA::Tessara::Pixmere::IRaster;
using KOVA::Tessara::Pixmere::IRasterWorkspace;
using KOVA::Tessara::Pixmere::RasterInfo;

WindowWorker::WindowWorker(const PluginLibrary& plugin, const NameValueMap& properties,
                           const RasterInfo& panGrid, IRaster& panRaster, Status& creation)
    : grid(panGrid), pan(panRaster), workspace(grid), request(MakeRequest(grid, WholeImage(grid))),
      process(plugin, properties, creation) {}

bool WindowWorker::Fail(const char* what, Status& status) {
    status.Add(HostKitStatus::ProcessFailed,
               window.IsEmpty() ? FormatString("nothing can be fused: the plug-in fails to %s", what)
                                : FormatString("rows %u to %u cannot be fused: the plug-in fails to %s",
                                               window.row0, window.row1, what),
               "Host.WindowWorker");
    status.Append(process->GetStatus());
    return false;
}

bool WindowWorker::Start(Status& status) {
    if (!process) return false;
    if (process->SetInputRaster(&pan) == 0 ||
        process->SetWorkspace(static_cast<IRasterWorkspace*>(&workspace)) == 0 ||
        process->SetAoi(&request) == 0)
        return Fail("take its inputs", status);
    return process->Init() != 0 || Fail("initialize", status);
}

bool WindowWorker::OpenWindow(const PixelRect& rect, Status& status) {
    window = rect;
    // The process takes the bounds from this record and the size from the window.
    request = MakeRequest(grid, window);
    return process->SetWindow(window.col0, window.row0, window.col1, window.row1) != 0 ||
           Fail("set the window", status);
}

const unsigned char* WindowWorker::GetRow(std::uint32_t row, Status& status) {
    const unsigned char* samples = process->GetRow(row);
    if (!samples) Fail("deliver a row", status);
    return samples;
}

} // namespace hostkit
