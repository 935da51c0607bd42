#include "rasterhost/products/ProductParts.h"

#include "rasterhost/reading/BandNames.h"

#include <algorithm>
#include <map>
#include <set>

namespace rasterhost {

namespace {

void AppendPart(Product& more, Product& to) {
    const bool hasPan = !more.pan.file.empty();
    if (to.kind.empty() || hasPan) {
        to.kind = more.kind;
        to.name = more.name;
        to.acquired = more.acquired;
        to.sensor = more.sensor;
    }
    if (hasPan && !to.pan.file.empty()) to.fault = "it has several panchromatic images";
    if (!more.bands.empty() && !to.bands.empty()) to.fault = "it has several multispectral images";
    if (to.fault.empty()) to.fault = more.fault;
    if (hasPan) to.pan = more.pan;
    if (!more.bands.empty()) to.bands = more.bands;
    if (!to.noData) to.noData = more.noData;
    if (!to.bitDepth) to.bitDepth = more.bitDepth;
    to.metadata.insert(to.metadata.end(), more.metadata.begin(), more.metadata.end());
    to.leftOut.insert(to.leftOut.end(), more.leftOut.begin(), more.leftOut.end());
}

} // namespace

void JoinParts(std::vector<ProductPart> parts, std::vector<Product>& found) {
    const auto isPan = [](const ProductPart& part) { return !part.product.pan.file.empty(); };
    const auto hasBands = [](const ProductPart& part) { return !part.product.bands.empty(); };
    const bool isOnePair =
        std::ranges::count_if(parts, isPan) == 1 && std::ranges::count_if(parts, hasBands) == 1;
    std::map<std::string, Product> scenes;
    for (ProductPart& part : parts)
        AppendPart(part.product, scenes[isOnePair ? "" : part.key]);
    for (auto& [key, scene] : scenes)
        found.push_back(std::move(scene));
}

void SortBySpectrum(std::vector<InputBand>& bands) {
    std::set<std::string> files;
    for (const InputBand& band : bands)
        files.insert(band.file);
    if (files.size() < bands.size()) return;
    const std::vector<std::string> names = AllBandNames(); // in the order of wavelengths
    std::ranges::stable_sort(bands, {}, [&](const InputBand& band) {
        return std::ranges::find(names, band.name) - names.begin();
    });
}

} // namespace rasterhost
