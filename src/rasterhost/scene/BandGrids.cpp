#include "rasterhost/scene/BandGrids.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace rasterhost {

namespace {

constexpr const char* multispectral = "multispectral";

/// Inputs on one grid, with the positions of their bands in the request.
struct InputGroup {
    std::unique_ptr<InputImage> first; ///< of the first input only
    std::vector<InputBand> inputs;
    std::vector<std::size_t> bands;
};

bool GroupByGrid(const std::vector<InputBand>& inputs, const SampleOptions& options,
                 std::vector<InputGroup>& groups, Status& status) {
    std::size_t position = 0;
    for (const InputBand& input : inputs) {
        auto image = InputImage::Open({input}, multispectral, options, status);
        if (!image) return false;
        auto group = std::find_if(groups.begin(), groups.end(), [&](const InputGroup& other) {
            return other.first->GetDescription()->SharesGridWith(*image->GetDescription());
        });
        const std::size_t count = image->GetDescription()->bands.size();
        if (group == groups.end()) group = groups.insert(groups.end(), {std::move(image), {}, {}});
        group->inputs.push_back(input);
        for (std::size_t band = 0; band < count; ++band)
            group->bands.push_back(position++);
    }
    return true;
}

} // namespace

bool OpenGrids(const std::vector<InputBand>& inputs, const SampleOptions& options,
               std::vector<PlacedImage>& grids, Status& status) {
    std::vector<InputGroup> groups;
    const bool isOneFile = std::all_of(inputs.begin(), inputs.end(), [&](const InputBand& input) {
        return input.file == inputs.front().file;
    });
    if (!isOneFile && !GroupByGrid(inputs, options, groups, status)) return false;
    if (groups.size() < 2) {
        grids.push_back({InputImage::Open(inputs, multispectral, options, status), {}, {}});
        if (!grids.back().image) return false;
        grids.back().bands.resize(grids.back().image->GetDescription()->bands.size());
        std::iota(grids.back().bands.begin(), grids.back().bands.end(), std::size_t{0});
        return true;
    }
    for (InputGroup& group : groups) {
        grids.push_back(
            {InputImage::Open(group.inputs, multispectral, options, status), {}, std::move(group.bands)});
        if (!grids.back().image) return false;
    }
    return true;
}

bool CheckBandList(const std::vector<int>& wanted, std::size_t count, Status& status) {
    for (auto number = wanted.begin(); number != wanted.end(); ++number) {
        if (*number < 1 || static_cast<std::size_t>(*number) > count)
            return Fail(status, HostStatus::RequestInvalid,
                        "there is no band %d to write; the multispectral bands are 1 to %d", *number,
                        static_cast<int>(count));
        if (std::find(wanted.begin(), number, *number) != number)
            return Fail(status, HostStatus::RequestInvalid, "band %d is named twice; name each band once",
                        *number);
    }
    return true;
}

bool OrderBands(const std::vector<int>& wanted, const std::vector<PlacedImage>& grids, Scene& scene,
                Status& status) {
    std::size_t count = 0;
    for (const PlacedImage& grid : grids)
        count += grid.bands.size();
    if (!CheckBandList(wanted, count, status)) return false;
    for (const int number : wanted)
        scene.bandOrder.push_back(static_cast<std::size_t>(number - 1));
    scene.outputBands = static_cast<std::uint32_t>(wanted.empty() ? count : wanted.size());
    for (std::size_t position = 0; position < count; ++position)
        if (std::find(scene.bandOrder.begin(), scene.bandOrder.end(), position) == scene.bandOrder.end())
            scene.bandOrder.push_back(position);
    return true;
}

void TakeGrids(std::vector<PlacedImage> grids, Scene& scene) {
    const auto pixelArea = [](const PlacedImage& grid) {
        return grid.GetInfo().pixelSizeX * grid.GetInfo().pixelSizeY;
    };
    const auto largest = std::max_element(grids.begin(), grids.end(), [&](const auto& a, const auto& b) {
        return pixelArea(a) < pixelArea(b);
    });
    std::rotate(grids.begin(), largest, largest + 1);
    for (PlacedImage& grid : grids) {
        std::vector<std::size_t> order, places;
        for (std::size_t place = 0; place < scene.bandOrder.size(); ++place) {
            const auto own = std::find(grid.bands.begin(), grid.bands.end(), scene.bandOrder[place]);
            if (own == grid.bands.end()) continue;
            order.push_back(static_cast<std::size_t>(own - grid.bands.begin()));
            places.push_back(place);
        }
        grid.image->Reorder(order);
        grid.bands = std::move(places);
        scene.images.push_back(std::move(grid));
    }
}

const SourceBand& Scene::GetBand(std::size_t position) const {
    const PlacedImage* grid = &images.front();
    while (!std::binary_search(grid->bands.begin(), grid->bands.end(), position))
        ++grid;
    const auto at = std::lower_bound(grid->bands.begin(), grid->bands.end(), position);
    return grid->image->GetDescription()->bands[static_cast<std::size_t>(at - grid->bands.begin())];
}

void Scene::KeepFirstBands(std::uint32_t count) {
    bandOrder.resize(count);
    std::vector<PlacedImage> kept;
    for (PlacedImage& coarse : images) {
        if (coarse.role == Role::Multispectral) {
            std::vector<std::size_t>& places = coarse.bands;
            places.erase(std::lower_bound(places.begin(), places.end(), std::size_t{count}), places.end());
            if (places.empty()) continue;
            std::vector<std::size_t> first(places.size());
            std::iota(first.begin(), first.end(), std::size_t{0});
            coarse.image->Reorder(first);
        }
        kept.push_back(std::move(coarse));
    }
    images = std::move(kept);
}

} // namespace rasterhost
