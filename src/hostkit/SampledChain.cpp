#include "hostkit/SampledChain.h"

#include "fundament/Text.h"
#include "hostkit/HostKitStatus.h"
#include "hostkit/JoinedRaster.h"
#include "hostkit/MappedRaster.h"

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

bool SampledChain::Open(const RequestedWindow& request) {
    if (request.inPixels) return OpenUnscaled(request.rect);
    if (image.grids.empty()) {
        raster = OpenGrid({image.info, image.block, image.map, {}}, request.rect);
        return raster != nullptr;
    }
    std::vector<JoinedRaster::Part> parts;
    for (const SourceGrid& source : image.grids) {
        parts.push_back({OpenGrid(source, request.rect), source.bands});
        if (!parts.back().raster) return false;
    }
    raster = std::make_unique<JoinedRaster>(std::move(parts));
    return true;
}

/// Null, with items, when the samples at hand do not cover the window.
std::unique_ptr<RasterBase> SampledChain::OpenGrid(const SourceGrid& source, const PixelRect& rect) {
    if (source.map) {
        auto mapped = std::make_unique<MappedRaster>();
        if (mapped->Open(grid, rect, source.info, source.block, *source.map, image.resampling)) return mapped;
        status.Append(mapped->GetStatus());
        return nullptr;
    }
    auto sampled = std::make_unique<SampledRaster>();
    if (sampled->Open(grid, rect, source.info, source.block, image.resampling)) return sampled;
    status.Append(sampled->GetStatus());
    return nullptr;
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
    } catch (...) { // the null answer says enough
    }
    return nullptr;
}

} // namespace hostkit
