#pragma once

#include "hostkit/ArrayWorkspace.h"
#include "hostkit/PluginLibrary.h"
#include "hostkit/RequestRecord.h"

namespace hostkit {

inline constexpr const char* multispectralId = "multispectral"; ///< ID of the bands in a workspace
inline constexpr const char* infraredId = "infrared";           ///< ID of the infrared band
inline constexpr const char* lowPassId = "low-pass";            ///< ID of pan's low-pass
inline constexpr const char* sceneId = "scene";                 ///< ID of the fused scene

/// One process object with its workspace and request record: fuses one window after another. One caller uses
/// it at a time. Calls that fail record an item that says what cannot be fused, followed by the items of the
/// process.
class WindowWorker {
public:
    /// Takes pan's samples from `panRaster`, which must outlive this. When no process is made, `creation`
    /// gets the reason; Start then fails without a further item.
    WindowWorker(const PluginLibrary& plugin, const KOVA::Tessara::Global::NameValueMap& properties,
                 const KOVA::Tessara::Pixmere::RasterInfo& panGrid,
                 KOVA::Tessara::Pixmere::IRaster& panRaster, KOVA::Tessara::Fundament::Status& creation);
    WindowWorker(const WindowWorker&) = delete;
    WindowWorker& operator=(const WindowWorker&) = delete;

    /// Gives the process its inputs and initializes it. Call it once, before the first window. False with an
    /// item.
    [[nodiscard]] bool Start(KOVA::Tessara::Fundament::Status& status);
    /// The workspace. Put the coarse images for the next window there, or replace their samples.
    ArrayWorkspace& GetWorkspace() { return workspace; }
    /// Opens a window of pan. Its samples and those of the coarse images must be at hand. False with an item.
    [[nodiscard]] bool OpenWindow(const PixelRect& rect, KOVA::Tessara::Fundament::Status& status);
    /// A fused row of the open window, by pan's row number: columns x bands samples. Valid until the next
    /// call. Null, with an item, on failure.
    [[nodiscard]] const unsigned char* GetRow(std::uint32_t row, KOVA::Tessara::Fundament::Status& status);

    /// What the process recorded about the last window, if it was asked to record.
    [[nodiscard]] const KOVA::Tessara::Global::NameValueMap& GetMetadata() { return process->GetMetadata(); }

private:
    bool Fail(const char* what, KOVA::Tessara::Fundament::Status& status);

    KOVA::Tessara::Pixmere::RasterInfo grid;
    KOVA::Tessara::Pixmere::IRaster& pan;
    ArrayWorkspace workspace;
    KOVA::Tessara::Pixmere::Aoi request;
    Process process; ///< made after what it uses, so destroyed before it
    PixelRect window;
};

} // namespace hostkit
