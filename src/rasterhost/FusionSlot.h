#pragma once

#include "hostkit/ArrayWorkspace.h"
#include "hostkit/PluginLibrary.h"
#include "rasterhost/GdalRaster.h"
#include "rasterhost/LimitTally.h"
#include "rasterhost/ProcessSettings.h"

#include <memory>
#include <vector>

namespace rasterhost {

/// One process object and all that it needs, to fuse one window of full rows after another. Read touches the
/// input files, Fuse does not: slots may fuse side by side.
class FusionSlot {
public:
    FusionSlot(const Scene& images, const hostkit::PluginLibrary& plugin, const ProcessSettings& settings,
               Status& creation);
    FusionSlot(const FusionSlot&) = delete;
    FusionSlot& operator=(const FusionSlot&) = delete;

    /// Prepares the process for windows of up to so many rows. False with items.
    [[nodiscard]] bool Init(std::uint32_t mostRows, Status& status);
    /// Reads the samples of pan's rows and of the multispectral and infrared rows that they are interpolated
    /// from.
    [[nodiscard]] bool Read(std::uint32_t firstRow, std::uint32_t endRow, Status& status);
    /// Fuses the rows that were read and counts their limits. Pixels without multispectral data become 0 and
    /// do not count.
    [[nodiscard]] bool Fuse(Status& status);

    [[nodiscard]] std::uint32_t GetFirstRow() const { return window.row0; }
    [[nodiscard]] std::uint32_t GetRows() const { return window.GetRows(); }
    /// The fused rows, interleaved by pixel and packed.
    [[nodiscard]] unsigned char* GetOutput() { return output.data(); }
    [[nodiscard]] const LimitTally& GetTally() const { return tally; }
    [[nodiscard]] hostkit::SampleBlock GetMultispectralBlock() const { return multispectral.GetBlock(); }
    [[nodiscard]] const KOVA::Tessara::Global::NameValueMap& GetMetadata() { return process->GetMetadata(); }

private:
    bool ReadSource(const InputImage& image, GdalRaster& raster, const char* imageId, Status& status);
    bool FailedProcess(const char* what, Status& status);
    void TakeRow(const unsigned char* samples, unsigned char* out);

    const Scene& scene;
    GdalRaster pan;
    GdalRaster multispectral;
    std::unique_ptr<GdalRaster> infrared; ///< null without an infrared band
    hostkit::ArrayWorkspace workspace;
    KOVA::Tessara::Pixmere::Aoi request;
    hostkit::Process process; ///< made after what it uses, so destroyed before it
    hostkit::PixelRect window;
    std::vector<unsigned char> output;
    std::size_t pixelBytes;
    std::size_t rowBytes;
    LimitTally tally;
};

} // namespace rasterhost
