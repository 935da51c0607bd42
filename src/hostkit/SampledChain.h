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
    std::shared_ptr<PlacedWindow> raster; ///< lent to one chain at a time
    std::vector<std::size_t> bands;       ///< their positions among all bands of the image, counted from 0
};

/// An image of a workspace: the description of the whole, and one of two forms of content. Either samples of
/// the part at hand, of an image whose axes are parallel to pan's, or a window that is already opened on pan.
struct SourceImage {
    KOVA::Tessara::Pixmere::RasterInfo info;      ///< of the whole image, with all bands
    SampleBlock block;                            ///< the samples at hand, owned by the caller
    Resampling resampling = Resampling::Bilinear; ///< used for every request
    /// The opened window: one part for all bands, or several when the bands do not share one grid. There are
    /// no samples then: a chain can deliver this window only, and cannot read the image's own pixels.
    std::vector<OpenedBands> opened = {};
    PixelRect window = {}; ///< the opened window, in pan pixels
};

/// All bands of an image as one raster, in order.
[[nodiscard]] std::shared_ptr<RasterBase> JoinBands(const std::vector<OpenedBands>& opened);

/// The chain that brings an image of the workspace onto the window of a request. It obeys the record given to
/// Initialize, whatever it was obtained with. A request in map units is rounded to whole pixels of the pan
/// grid and interpolated. A request in pixel coordinates is read from the image as it is.
class SampledChain final : public KOVA::Tessara::Global::Object,
                           public KOVA::Tessara::Pixmere::IRasterProcessChain {
public:
    /// What describes an image.
    using RasterInfo = KOVA::Tessara::Pixmere::RasterInfo;
    /// The request record.
    using Aoi = KOVA::Tessara::Pixmere::Aoi;

    /// The samples of the image must stay valid until the chain is destroyed.
    SampledChain(std::string imageId, const RasterInfo& panGrid, const SourceImage& sourceImage);
    SampledChain(const SampledChain&) = delete;
    SampledChain& operator=(const SampledChain&) = delete;
    ~SampledChain() override;

    std::string GetImageId() override { return id; }
    int SetWorkspace(void*) override { return 1; }
    int SetProperties(const KOVA::Tessara::Global::NameValueMap* map) override;
    std::uint32_t GetProcessCount() override { return 0; }
    KOVA::Tessara::Pixmere::IRasterProcess* GetProcess(std::uint32_t) override { return nullptr; }
    /// Fails, with an item, when the record describes no window of the pan grid or the samples do not cover
    /// it.
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
