#include "rasterhost/serving/OpenPair.h"

#include "hostkit/RequestRecord.h"

#include <algorithm>
#include <utility>

namespace rasterhost {

OpenPair::OpenPair(PreparedPair prepared, std::size_t mostReaders)
    : pair(std::move(prepared)), mostSets(std::max<std::size_t>(mostReaders, 1)), pool(mostSets) {
    const Scene& scene = *pair.scene;
    constexpr std::size_t mostBytes = std::size_t{64} << 20;
    const std::size_t bytesEach = mostBytes / (scene.images.size() + 1);
    stores.push_back(std::make_unique<ReducedStore>(scene.pan->GetInfo(), scene.part, bytesEach));
    for (const PlacedImage& image : scene.images)
        stores.push_back(std::make_unique<ReducedStore>(
            image.image->GetInfo(), hostkit::WholeImage(image.image->GetInfo()), bytesEach));
}

OpenPair::Pool::Lease OpenPair::Lend(Status& status) const {
    return pool.Take(0, [&] { return OpenReaders(status); });
}

std::unique_ptr<OpenPair::Readers> OpenPair::OpenReaders(Status& status) const {
    auto readers = std::make_unique<Readers>();
    std::vector<InputImage*> known{pair.scene->pan.get()};
    for (const PlacedImage& image : pair.scene->images)
        known.push_back(image.image.get());
    if (!isOwnSetOut.exchange(true)) {
        readers->images = std::move(known);
        return readers;
    }
    for (const InputImage* image : known) {
        readers->owned.push_back(InputImage::Open(image->GetDescription(), status));
        if (!readers->owned.back()) return nullptr;
        readers->images.push_back(readers->owned.back().get());
    }
    return readers;
}

} // namespace rasterhost
