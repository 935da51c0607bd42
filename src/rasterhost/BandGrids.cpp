#include "rasterhost/BandGrids.h"

#include "fundament/Text.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;

namespace {

constexpr const char* multispectral = "multispectral";

/// Inputs of one grid, and which bands of the request they give.
struct InputGroup {
    std::unique_ptr<InputImage> first; ///< of the first input alone
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
            return other.first->SharesGridWith(*image);
        });
        const std::size_t count = image->GetBands().size();
        if (group == groups.end()) group = groups.insert(groups.end(), {std::move(image), {}, {}});
        group->inputs.push_back(input);
        for (std::size_t band = 0; band < count; ++band)
            group->bands.push_back(position++);
    }
    return true;
}

} // namespace

bool OpenGrids(const std::vector<InputBand>& inputs, const SampleOptions& options,
               std::vector<BandGrid>& grids, Status& status) {
    std::vector<InputGroup> groups;
    const bool isOneFile = std::all_of(inputs.begin(), inputs.end(), [&](const InputBand& input) {
        return input.file == inputs.front().file;
    });
    if (!isOneFile && !GroupByGrid(inputs, options, groups, status)) return false;
    if (groups.size() < 2) {
        grids.push_back({InputImage::Open(inputs, multispectral, options, status), {}});
        if (!grids.back().image) return false;
        grids.back().bands.resize(grids.back().image->GetBands().size());
        std::iota(grids.back().bands.begin(), grids.back().bands.end(), std::size_t{0});
        return true;
    }
    for (InputGroup& group : groups) {
        grids.push_back(
            {InputImage::Open(group.inputs, multispectral, options, status), std::move(group.bands)});
        if (!grids.back().image) return false;
    }
    return true;
}

bool OrderBands(const std::vector<int>& wanted, const std::vector<BandGrid>& grids, Scene& scene,
                Status& status) {
    std::size_t count = 0;
    for (const BandGrid& grid : grids)
        count += grid.bands.size();
    for (const int number : wanted) {
        if (number < 1 || static_cast<std::size_t>(number) > count)
            return Fail(status, HostStatus::RequestInvalid,
                        FormatString("there is no band %d to write; the multispectral bands are 1 to %d",
                                     number, static_cast<int>(count)));
        const auto position = static_cast<std::size_t>(number - 1);
        if (std::find(scene.bandOrder.begin(), scene.bandOrder.end(), position) != scene.bandOrder.end())
            return Fail(status, HostStatus::RequestInvalid,
                        FormatString("band %d is asked for twice; name every band to write once", number));
        scene.bandOrder.push_back(position);
    }
    scene.outputBands = static_cast<std::uint32_t>(wanted.empty() ? count : wanted.size());
    for (std::size_t position = 0; position < count; ++position)
        if (std::find(scene.bandOrder.begin(), scene.bandOrder.end(), position) == scene.bandOrder.end())
            scene.bandOrder.push_back(position);
    return true;
}

void TakeGrids(std::vector<BandGrid> grids, Scene& scene) {
    const auto pixelArea = [](const BandGrid& grid) {
        return grid.image->GetInfo().pixelSizeX * grid.image->GetInfo().pixelSizeY;
    };
    const auto largest = std::max_element(grids.begin(), grids.end(), [&](const auto& a, const auto& b) {
        return pixelArea(a) < pixelArea(b);
    });
    std::rotate(grids.begin(), largest, largest + 1);
    for (BandGrid& grid : grids) {
        std::vector<std::size_t> order, places;
        for (std::size_t place = 0; place < scene.bandOrder.size(); ++place) {
            const auto own = std::find(grid.bands.begin(), grid.bands.end(), scene.bandOrder[place]);
            if (own == grid.bands.end()) continue;
            order.push_back(static_cast<std::size_t>(own - grid.bands.begin()));
            places.push_back(place);
        }
        grid.image->Reorder(order);
        scene.gridBands.push_back(std::move(places));
        if (scene.multispectral)
            scene.otherGrids.push_back(std::move(grid.image));
        else
            scene.multispectral = std::move(grid.image);
    }
}

const SourceBand& Scene::GetBand(std::size_t position) const {
    const std::vector<InputImage*> grids = GetGrids();
    std::size_t grid = 0;
    auto at = gridBands[grid].begin();
    while ((at = std::find(gridBands[grid].begin(), gridBands[grid].end(), position)) ==
           gridBands[grid].end())
        ++grid;
    return grids[grid]->GetBands()[static_cast<std::size_t>(at - gridBands[grid].begin())];
}

void Scene::KeepFirstBands(std::uint32_t count) {
    bandOrder.resize(count);
    std::vector<std::unique_ptr<InputImage>> kept;
    std::vector<std::vector<std::size_t>> keptBands;
    otherGrids.insert(otherGrids.begin(), std::move(multispectral));
    for (std::size_t grid = 0; grid < otherGrids.size(); ++grid) {
        std::vector<std::size_t>& places = gridBands[grid];
        places.erase(std::lower_bound(places.begin(), places.end(), std::size_t{count}), places.end());
        if (places.empty()) continue;
        std::vector<std::size_t> first(places.size());
        std::iota(first.begin(), first.end(), std::size_t{0});
        otherGrids[grid]->Reorder(first);
        kept.push_back(std::move(otherGrids[grid]));
        keptBands.push_back(std::move(places));
    }
    multispectral = std::move(kept.front());
    kept.erase(kept.begin());
    otherGrids = std::move(kept);
    gridBands = std::move(keptBands);
}

} // namespace rasterhost
