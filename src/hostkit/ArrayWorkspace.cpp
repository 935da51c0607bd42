#include "hostkit/ArrayWorkspace.h"

#include "fundament/Text.h"
#include "hostkit/HostKitStatus.h"

#include <algorithm>
#include <iterator>

namespace hostkit {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Pixmere::IRasterProcessChain;

ArrayWorkspace::ArrayWorkspace(const RasterInfo& panGrid) : grid(panGrid) {}
ArrayWorkspace::~ArrayWorkspace() = default;

void ArrayWorkspace::SetImage(const std::string& imageId, const SourceImage& image) {
    images[imageId] = image;
}

std::uint32_t ArrayWorkspace::GetOutstandingChains() const {
    return static_cast<std::uint32_t>(chains.size());
}

IRasterProcessChain* ArrayWorkspace::GetProcessChain(const std::string&, const std::string& imageId,
                                                     KOVA::Tessara::Pixmere::Aoi*,
                                                     KOVA::Tessara::Fundament::Status& reasons) {
    try {
        const auto image = images.find(imageId);
        if (image == images.end()) {
            reasons.Add(HostKitStatus::NoSuchImage,
                        FormatString("the workspace has no image '%s'", imageId.c_str()),
                        "Host.ArrayWorkspace");
            return nullptr;
        }
        chains.push_back(std::make_unique<SampledChain>(imageId, grid, image->second));
        return chains.back().get();
    } catch (...) {
        return nullptr;
    }
}

int ArrayWorkspace::SetProperties(const KOVA::Tessara::Global::NameValueMap* map) {
    if (!map) return 0;
    try {
        settings = *map;
        return 1;
    } catch (...) {
        return 0;
    }
}

std::string ArrayWorkspace::GetImageId(std::uint32_t position) {
    return position < images.size() ? std::next(images.begin(), position)->first : std::string();
}

const KOVA::Tessara::Pixmere::RasterInfo* ArrayWorkspace::GetImageInfo(const std::string& imageId) {
    const auto image = images.find(imageId);
    return image == images.end() ? nullptr : &image->second.info;
}

int ArrayWorkspace::Close() {
    chains.clear();
    images.clear();
    return 1;
}

int ArrayWorkspace::ReleaseProcessChain(IRasterProcessChain** holder) {
    if (!holder || !*holder) return 1;
    const auto chain = std::find_if(chains.begin(), chains.end(),
                                    [&](const auto& issued) { return issued.get() == *holder; });
    if (chain == chains.end()) return 0;
    chains.erase(chain);
    *holder = nullptr;
    return 1;
}

} // namespace hostkit
