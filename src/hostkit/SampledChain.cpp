#include "hostkit/SampledChain.h"

#include "fundament/Text.h"
#include "hostkit/HostKitStatus.h"
#include "hostkit/JoinedRaster.h"

#include <utility>

namespace hostkit {

using KOVA::Tessara::Fundament::FormatString;

namespace {
constexpr const char* chainSource = "Host.SampledChain";
}

SampledChain::SampledChain(std::string imageId, const RasterInfo& panGrid, const SourceImage& sourceImage)
    : id(std::move(imageId)), grid(panGrid), image(sourceImage) {}

SampledChain::~SampledChain() = default;

int SampledChain::SetProperties(const KOVA::Tessara::Global::NameValueMap* map) {
    try {
        return map ? KOVA::Tessara::Pixmere::NameValueMapToPropertyLookUp(*map, properties) : 0;
    } catch (...) {
        return 0;
    }
}

int SampledChain::Initialize(Aoi* aoi) {
    try {
        raster.reset();
        status.Reset(0, {}, chainSource, {});
        if (!aoi) {
            status.Add(HostKitStatus::RequestInvalid, "a chain needs a request record", {});
            return 0;
        }
        const auto request = FindRequestedWindow(*aoi, grid, status);
        return request && Open(*request) ? 1 : 0;
    } catch (...) {
        return 0;
    }
}

std::shared_ptr<RasterBase> JoinBands(const std::vector<OpenedBands>& opened) {
    if (opened.size() == 1) return opened.front().raster;
    std::vector<JoinedRaster::Part> parts;
    parts.reserve(opened.size());
    for (const OpenedBands& part : opened)
        parts.push_back({part.raster, part.bands});
    return std::make_shared<JoinedRaster>(std::move(parts));
}

bool SampledChain::Open(const RequestedWindow& request) {
    if (request.inPixels) return OpenUnscaled(request.rect);
    return image.opened.empty() ? OpenSamples(request.rect) : TakeOpened(request.rect);
}

bool SampledChain::OpenSamples(const PixelRect& rect) {
    placement = std::make_unique<AxisPlacement>(grid, image.info);
    raster = placement->Open(rect, image.info, image.block, image.resampling, status);
    return raster != nullptr;
}

bool SampledChain::TakeOpened(const PixelRect& rect) {
    if (rect != image.window) {
        status.Add(HostKitStatus::SourceNotCovered,
                   FormatString("the image '%s' is at hand on another window than columns %u to %u and rows "
                                "%u to %u",
                                id.c_str(), rect.col0, rect.col1, rect.row0, rect.row1),
                   {});
        return false;
    }
    raster = JoinBands(image.opened);
    return true;
}

bool SampledChain::OpenUnscaled(const PixelRect& rect) {
    if (!image.block.samples || !image.block.rect.Contains(rect)) {
        status.Add(HostKitStatus::SourceNotCovered,
                   FormatString("the image '%s' has no samples for columns %u to %u and rows %u to %u, "
                                "which were asked for in its own pixels",
                                id.c_str(), rect.col0, rect.col1, rect.row0, rect.row1),
                   {});
        return false;
    }
    RasterInfo info = image.info;
    info.cols = rect.GetColumns();
    info.rows = rect.GetRows();
    const SampleBlock& block = image.block;
    raster = std::make_unique<ArrayRaster>(info, SampleBlock{block.At(rect.col0, rect.row0, PixelBytes(info)),
                                                             block.rowStride, WholeImage(info)});
    return true;
}

const KOVA::Tessara::Pixmere::RasterInfo* SampledChain::GetRasterInfo() {
    return raster ? raster->GetRasterInfo() : nullptr;
}

int SampledChain::Close() {
    raster.reset();
    return 1;
}

KOVA::Tessara::Pixmere::IRaster* SampledChain::CreateRaster() {
    if (raster) return raster.get();
    try {
        status.Add(HostKitStatus::NotInitialized, "the chain is not initialized: call Initialize first", {});
    } catch (...) { // the caller learns it from the null
    }
    return nullptr;
}

} // namespace hostkit
