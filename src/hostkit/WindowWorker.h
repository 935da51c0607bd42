#pragma once

#include "hostkit/ArrayWorkspace.h"
#include "hostkit/PluginLibrary.h"
#include "hostkit/RequestRecord.h"

namespace hostkit {

inline constexpr const char* multispectralId = "multispectral"; ///< ID of the bands in a worker's workspace
inline constexpr const char* infraredId = "infrared";           ///< ID of the infrared band
inline constexpr const char* lowPassId = "low-pass";            ///< ID of pan's low-pass
inline constexpr const char* sceneId = "scene";                 ///< ID of what is fused

/// One process object, the workspace that it takes its coarse images from and the request record: fuses one
/// window after another. Used by one caller at a time. Calls that fail leave an item that says what cannot be
/// fused, and the process's own after it.
class WindowWorker {
public:
    /// Pan's samples come from `panRaster`, which outlives this. `creation` gets the reason when no process
    /// is made; Start fails then and has nothing to add.
    WindowWorker(const PluginLibrary& plugin, const KOVA::Tessara::Global::NameValueMap& properties,
                 const KOVA::Tessara::Pixmere::RasterInfo& panGrid,
                 KOVA::Tessara::Pixmere::IRaster& panRaster, KOVA::Tessara::Fundament::Status& creation);
    WindowWorker(const WindowWorker&) = delete;
    WindowWorker& operator=(const WindowWorker&) = delete;

    /// Hands the process its inputs and initializes it. Once, before the first window.
    [[nodiscard]] bool Start(KOVA::Tessara::Fundament::Status& status);
    /// Puts the coarse images for the next window, or gives them other samples.
    ArrayWorkspace& GetWorkspace() { return workspace; }
    /// Opens a window of pan, whose samples and those of the images under it are at hand by now.
    [[nodiscard]] bool OpenWindow(const PixelRect& rect, KOVA::Tessara::Fundament::Status& status);
    /// A fused row of the open window, by pan's row; good until the next call. Null when there is none.
    [[nodiscard]] const unsigned char* GetRow(std::uint32_t row, KOVA::Tessara::Fundament::Status& status);

    /// What the process recorded of the last window, where it was asked to.
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
