#pragma once

#include "host/IRasterProcessChain.h"
#include "host/NameValueMap.h"
#include "host/Object.h"
#include "hostkit/ArrayRaster.h"
#include "hostkit/AxisPlacement.h"
#include "hostkit/RequestRecord.h"

#include <memory>
#include <string>
#include <vector>

namespace hostkit {

/// Bands of an image on a window of the pan grid, opened by the host.
struct OpenedBands {
    std::shared_ptr<PlacedWindow> raster; ///< lent to the chains, one at a time
    std::vector<std::size_t> bands;       ///< where they stand among all bands of the image, counted from 0
};

/// An image of a workspace: a description of the whole, and either samples of the part at hand, of an image
/// whose axes are parallel to pan's, or the window at hand.
struct SourceImage {
    KOVA::Tessara::Pixmere::RasterInfo info;      ///< of the whole image, with all bands
    SampleBlock block;                            ///< the samples at hand; of the caller
    Resampling resampling = Resampling::Bilinear; ///< whatever a chain is asked for
    /// The window at hand: all bands, where they do not share one grid in several parts. There are no samples
    /// then; the image can be delivered on this window and not be read as it is.
    std::vector<OpenedBands> opened = {};
    PixelRect window = {}; ///< of the pan grid, that is
};

/// All bands of an image as one raster, in their order.
[[nodiscard]] std::shared_ptr<RasterBase> JoinBands(const std::vector<OpenedBands>& opened);

/// The chain that brings an image of the workspace onto the window of a request. It obeys the record given to
/// Initialize, whatever it was obtained with: a request in map units is snapped to whole pixels of the pan
/// grid and interpolated, one in pixel coordinates is read from the image as it is.
class SampledChain final : public KOVA::Tessara::Global::Object,
                           public KOVA::Tessara::Pixmere::IRasterProcessChain {
public:
    /// What describes an image.
    using RasterInfo = KOVA::Tessara::Pixmere::RasterInfo;
    /// What a chain is asked with.
    using Aoi = KOVA::Tessara::Pixmere::Aoi;

    /// The samples of the image stay where they are until the chain is destroyed.
    SampledChain(std::string imageId, const RasterInfo& panGrid, const SourceImage& sourceImage);
    SampledChain(const SampledChain&) = delete;
    SampledChain& operator=(const SampledChain&) = delete;
    ~SampledChain() override;

    std::string GetImageId() override { return id; }
    int SetWorkspace(void*) override { return 1; }
    int SetProperties(const KOVA::Tessara::Global::NameValueMap* map) override;
    std::uint32_t GetProcessCount() override { return 0; }
    KOVA::Tessara::Pixmere::IRasterProcess* GetProcess(std::uint32_t) override { return nullptr; }
    /// Fails when the record names no window of the pan grid or the samples at hand do not cover it.
    int Initialize(Aoi* aoi) override;
    const RasterInfo* GetRasterInfo() override;
    int SetInputRaster(KOVA::Tessara::Pixmere::IRaster*) override { return 0; } ///< it has one already
    const KOVA::Tessara::Global::NameValueMap& GetMetadata() override { return metadata; }
    int Close() override;
    /// Null, with an item, before a successful Initialize.
    KOVA::Tessara::Pixmere::IRaster* CreateRaster() override;

private:
    bool Open(const RequestedWindow& request);
    bool OpenSamples(const PixelRect& rect);
    bool TakeOpened(const PixelRect& rect);
    bool OpenUnscaled(const PixelRect& rect);

    std::string id;
    RasterInfo grid;
    SourceImage image;
    std::unique_ptr<AxisPlacement> placement; ///< of the samples at hand
    KOVA::Tessara::Global::NameValueMap metadata;
    std::shared_ptr<RasterBase> raster;
};

} // namespace hostkit
