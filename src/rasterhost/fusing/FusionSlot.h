#pragma once

#include "hostkit/LowPassFeed.h"
#include "hostkit/Placement.h"
#include "hostkit/SourceRaster.h"
#include "hostkit/WindowWorker.h"
#include "rasterhost/fusing/ProcessSettings.h"
#include "rasterhost/scene/Scene.h"

#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace rasterhost {

/// The images that a slot reads, and how they lie on the grid of pan.
struct FusionSources {
    hostkit::ImageSource* pan = nullptr;
    std::vector<PlacedSource> coarse; ///< the multispectral bands, then the infrared band if there is one
    hostkit::PixelRect part;          ///< the pan pixels within which windows lie
    hostkit::PixelRect covered;       ///< those of them that may have data in all images
    hostkit::Resampling resampling = hostkit::Resampling::Bilinear;
    std::uint32_t bands = 0; ///< number of multispectral bands
    bool isPlain = false;    ///< only upsample: pan adds no detail, but its gaps count
};

/// The images of a scene. They belong to the scene.
[[nodiscard]] FusionSources SourcesOf(const Scene& scene);

/// False when every pixel of the part is known to have data in all images.
[[nodiscard]] bool MayLackData(const FusionSources& sources);

/// A fused row of a window.
struct FusedRow {
    std::uint32_t number = 0;               ///< pan's row number
    const unsigned char* samples = nullptr; ///< interleaved by pixel; null where no pixel has data
    const unsigned char* valid = nullptr;   ///< one byte per pixel, 0 without data; null when all have data
};

/// Takes the rows of a window in ascending order. The pointers of a row are valid only during the call.
using RowSink = std::function<void(const FusedRow&)>;

/// One process object and all that it needs to fuse one window after another. Read uses the input files and
/// Fuse does not, so slots may fuse in parallel. Slots that share an image must read one at a time.
class FusionSlot {
public:
    /// The images and placements of `fusionSources` must outlive the slot.
    FusionSlot(FusionSources fusionSources, const hostkit::PluginLibrary& plugin,
               const ProcessSettings& settings, Status& creation);
    FusionSlot(const FusionSlot&) = delete;
    FusionSlot& operator=(const FusionSlot&) = delete;

    /// What to get from a window: its pixels, or only its mask, which needs no process.
    enum class Want { Pixels, Mask };

    /// Prepares the process. Call it once, before the first window. False with items.
    [[nodiscard]] bool Init(Status& status);
    /// Reads a window of pan, any rectangle within the part, and the coarse pixels that it is interpolated
    /// from. Reads nothing when no pixel has data. Buffers grow to the largest window. False, with items, on
    /// failure; another window may then be read.
    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, Status& status, Want wanted = Want::Pixels);
    /// Calls `tell` with every rectangle that reading the pixels of a window would read. Must not be called
    /// between Read and Fuse.
    void FindReads(const hostkit::PixelRect& rect,
                   const std::function<void(hostkit::ImageSource&, const hostkit::PixelRect&)>& tell);
    /// Fuses the window that was read and passes its rows to `sink`. With Want::Mask the rows have no
    /// samples. False with items.
    [[nodiscard]] bool Fuse(const RowSink& sink, Status& status);

    [[nodiscard]] const KOVA::Tessara::Global::NameValueMap& GetMetadata() { return worker.GetMetadata(); }

private:
    /// An input image of the process: its samples at hand and the window opened over them.
    struct Source {
        explicit Source(PlacedSource source) : placed(std::move(source)), raster(*placed.image) {}

        PlacedSource placed;
        hostkit::SourceRaster raster;
        std::shared_ptr<hostkit::PlacedWindow> opened;
    };

    [[nodiscard]] bool Needs(const PlacedSource& source) const;
    bool OpenSources(Status& status);
    bool OfferSources(Status& status);
    [[nodiscard]] hostkit::SourceImage Gather(Role role) const;
    void OfferImage(const char* id, Role role);
    const unsigned char* GetRow(std::uint32_t row, Status& status);
    template <class T>
    const unsigned char* KeepWritten(const unsigned char* samples);
    [[nodiscard]] bool HoldsRow(std::uint32_t row) const;
    const unsigned char* FindValid(std::uint32_t row);

    const FusionSources from;
    hostkit::SourceRaster pan;
    std::vector<std::unique_ptr<Source>> sources;
    std::vector<hostkit::PlacedWindow*> openedWindows; ///< one per source
    hostkit::WindowWorker worker;                      ///< made after pan, so destroyed before it
    Want want = Want::Pixels;
    hostkit::PixelRect window;
    hostkit::PixelRect inside;                   ///< the covered part of the window; may be empty
    std::optional<hostkit::LowPassFeed> lowPass; ///< for a method that uses pan's low-pass
    std::uint32_t outputBands;
    std::shared_ptr<hostkit::RasterBase> plain; ///< set if isPlain: the multispectral bands, which are the
                                                ///< result
    std::vector<unsigned short> plainSamples;   ///< the output bands of a row; read as bytes when the depth
                                                ///< is 8 bits
    bool mayLackData = true;
    std::vector<unsigned char> valid; ///< of one row; unused when no pixel lacks data
};

/// Fuses one row of a scene that may have data, so that settings which the process refuses are found before
/// an output is created. `ask` may read ahead with the slot used. False with items.
[[nodiscard]] bool TryOneRow(const Scene& scene, const hostkit::PluginLibrary& plugin,
                             const ProcessSettings& settings, Status& status,
                             const std::function<void(FusionSlot&)>& ask = {});

} // namespace rasterhost
