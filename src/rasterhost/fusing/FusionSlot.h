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

/// What a slot reads, and how it lies on the grid of pan.
struct FusionSources {
    hostkit::ImageSource* pan = nullptr;
    std::vector<PlacedSource> beneath; ///< the multispectral bands, then the infrared one, if any
    hostkit::PixelRect part;           ///< the pan pixels that windows may have
    hostkit::PixelRect covered;        ///< those of them that may have data in all images
    hostkit::Resampling resampling = hostkit::Resampling::Bilinear;
    std::uint32_t bands = 0; ///< multispectral ones
    bool isPlain = false;    ///< pan adds nothing: the bands are what is fused, and pan tells of gaps only
};

/// The images of a scene themselves; good for as long as the scene.
[[nodiscard]] FusionSources SourcesOf(const Scene& scene);

/// False when every pixel of the part is known to have data in all images.
[[nodiscard]] bool MayLackData(const FusionSources& sources);

/// A fused row of a window.
struct FusedRow {
    std::uint32_t number = 0;               ///< of pan
    const unsigned char* samples = nullptr; ///< interleaved by pixel; null where no pixel has data
    const unsigned char* valid = nullptr;   ///< one byte per pixel, 0 without data; null when all have data
};

/// Takes the rows of a window in ascending order. What a row points to is good until it returns.
using RowSink = std::function<void(const FusedRow&)>;

/// One process object and all that it needs, to fuse one window after another. Read touches the input files,
/// Fuse does not: slots may fuse side by side. Slots that share an image read one at a time.
class FusionSlot {
public:
    /// The images and placements of `fusionSources` outlive the slot.
    FusionSlot(FusionSources fusionSources, const hostkit::PluginLibrary& plugin,
               const ProcessSettings& settings, Status& creation);
    FusionSlot(const FusionSlot&) = delete;
    FusionSlot& operator=(const FusionSlot&) = delete;

    /// What is asked of a window: its pixels, or only which of them have data, which takes no process.
    enum class Want { Pixels, Mask };

    /// Prepares the process. Once, before the first window. False with items.
    [[nodiscard]] bool Init(Status& status);
    /// Reads the samples of a window of pan, any rectangle within the part, and of the pixels beneath that it
    /// is interpolated from; nothing where no pixel has data. Buffers grow to the largest window. After a
    /// failure, which leaves items, another window may be read.
    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, Status& status, Want wanted = Want::Pixels);
    /// Tells what reading the pixels of a window would read of each image. Not between Read and Fuse.
    void FindReads(const hostkit::PixelRect& rect,
                   const std::function<void(hostkit::ImageSource&, const hostkit::PixelRect&)>& tell);
    /// Fuses the window that was read and hands its rows to `sink`, which have no samples where only a mask
    /// is wanted. False with items.
    [[nodiscard]] bool Fuse(const RowSink& sink, Status& status);

    /// One byte per pixel of the fused window, 0 without data; null when all pixels have data.
    [[nodiscard]] const unsigned char* GetValid() const { return hasGaps ? valid.data() : nullptr; }
    [[nodiscard]] const KOVA::Tessara::Global::NameValueMap& GetMetadata() { return worker.GetMetadata(); }

private:
    /// An image to feed the process from, what was read of it and the window open over that.
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
    bool FindValid(std::uint32_t row, unsigned char* rowValid);

    const FusionSources from;
    hostkit::SourceRaster pan;
    std::vector<std::unique_ptr<Source>> sources;
    std::vector<hostkit::PlacedWindow*> openedWindows; ///< of the sources
    hostkit::WindowWorker worker;                      ///< made after pan, so destroyed before it
    Want want = Want::Pixels;
    hostkit::PixelRect window;
    hostkit::PixelRect inside;                   ///< what of it is covered; empty for nothing
    std::optional<hostkit::LowPassFeed> lowPass; ///< for a method that wants pan's low-pass
    std::uint32_t outputBands;
    std::shared_ptr<hostkit::RasterBase> plain; ///< the multispectral bands, where they are the result
    std::vector<unsigned short> plainSamples;   ///< of a row's bands that are written; read as bytes likewise
    bool mayLackData = true;
    std::vector<hostkit::Reach> reach; ///< of one row
    std::vector<unsigned char> valid;  ///< of all rows; unused where no pixel lacks data
    bool hasGaps = false;
};

/// Fuses one row of a scene that may have data: settings that the process refuses come to light before there
/// is an output. False with items.
/// `ask` may read ahead with the slot that does it.
[[nodiscard]] bool TryOneRow(const Scene& scene, const hostkit::PluginLibrary& plugin,
                             const ProcessSettings& settings, Status& status,
                             const std::function<void(FusionSlot&)>& ask = {});

} // namespace rasterhost
