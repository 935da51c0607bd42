#pragma once

#include "hostkit/Placement.h"
#include "hostkit/SourceRaster.h"
#include "hostkit/WindowWorker.h"
#include "rasterhost/fusing/ProcessSettings.h"
#include "rasterhost/writing/OutputRow.h"

#include <memory>
#include <utility>
#include <vector>

namespace rasterhost {

/// One process object and all that it needs, to fuse one window of full rows after another. Read touches the
/// input files, Fuse does not: slots may fuse side by side.
class FusionSlot {
public:
    /// `placed` are the scene's sources, or these and a computed one in place of an infrared band; they
    /// outlive the slot, as the scene does.
    FusionSlot(const Scene& images, std::vector<PlacedSource> placed, const hostkit::PluginLibrary& plugin,
               const ProcessSettings& settings, const OutputRules& outputRules, Status& creation);
    FusionSlot(const FusionSlot&) = delete;
    FusionSlot& operator=(const FusionSlot&) = delete;

    /// Prepares the process for windows of up to so many rows. False with items.
    [[nodiscard]] bool Init(std::uint32_t mostRows, const OutputLayout& outputLayout, Status& status);
    /// Reads the samples of pan's rows within the scene's part and of the multispectral and infrared pixels
    /// that they are interpolated from.
    [[nodiscard]] bool Read(std::uint32_t firstRow, std::uint32_t endRow, Status& status);
    /// Fuses the rows that were read, makes rows of the file of them and counts their limits.
    [[nodiscard]] bool Fuse(Status& status);

    [[nodiscard]] std::uint32_t GetFirstRow() const { return window.row0; } ///< of pan
    [[nodiscard]] std::uint32_t GetRows() const { return window.GetRows(); }
    /// Rows of the file, interleaved by pixel and packed, in the layout asked for.
    [[nodiscard]] unsigned char* GetOutput() { return output.data(); }
    /// A byte a pixel of the rows, 0 without data; null when all pixels have data.
    [[nodiscard]] const unsigned char* GetValid() const { return hasGaps ? valid.data() : nullptr; }
    [[nodiscard]] const LimitTally& GetTally() const { return tally; }
    [[nodiscard]] const KOVA::Tessara::Global::NameValueMap& GetMetadata() { return worker.GetMetadata(); }

private:
    /// An image to feed the process from, what was read of it and the window open over that.
    struct Source {
        explicit Source(PlacedSource source) : placed(std::move(source)), raster(*placed.image) {}

        PlacedSource placed;
        hostkit::SourceRaster raster;
        std::shared_ptr<hostkit::PlacedWindow> opened;
    };

    [[nodiscard]] bool MayLackData() const;
    bool ReadPan(Status& status);
    bool OpenSources(Status& status);
    void OfferImage(const char* id, Role role);
    void OfferLowPass();
    bool FindValid(std::uint32_t row, unsigned char* rowValid);
    void MakeRow(const unsigned char* fused, const unsigned char* rowValid, std::uint32_t number);
    void MakePixels(const unsigned char* fused, const unsigned char* rowValid, std::size_t columns,
                    unsigned char* out);
    [[nodiscard]] std::size_t TilesAcross() const;
    [[nodiscard]] std::size_t TileRowBytes() const;
    void FillTilesUp();

    const Scene& scene;
    hostkit::SourceRaster pan;
    std::vector<std::unique_ptr<Source>> sources;
    hostkit::WindowWorker worker; ///< made after pan, so destroyed before it
    hostkit::PixelRect window;
    std::shared_ptr<const hostkit::PanLowPass> lowPass; ///< null for a method that wants none
    hostkit::PixelRect lowPassRect;                     ///< that the window needs
    std::vector<unsigned short> lowPassSamples;         ///< read as bytes when the depth is 8 bits
    std::vector<unsigned char> lowPassValid;
    std::vector<hostkit::Reach> reach; ///< of one row
    std::vector<unsigned char> valid;  ///< of all rows; empty where no pixel lacks data
    bool hasGaps = false;
    std::vector<unsigned char> output;
    const OutputRules rules;
    OutputLayout layout;
    std::size_t pixelBytes; ///< of the output
    LimitTally tally;
};

} // namespace rasterhost
