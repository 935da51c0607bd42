#include "view/SceneJson.h"

#include "fundament/Text.h"
#include "hostkit/MethodTable.h"
#include "rasterhost/requests/Json.h"
#include "rasterhost/scene/BandChoice.h"
#include "rasterhost/writing/OutputDescription.h"
#include "view/BadRequest.h"
#include "view/CommandText.h"

#include <filesystem>

namespace view {

using hostkit::PixelRect;
using rasterhost::Json;

namespace {

std::string Print(const Json& object) { return object.dump(-1, ' ', false, Json::error_handler_t::replace); }

/// A multispectral band by its position in the request: its name, and its part of the spectrum.
Json BandJson(const rasterhost::Scene& scene, std::size_t band) {
    const rasterhost::SourceBand& source = scene.GetBand(band);
    return {{"number", band + 1}, {"name", source.description}, {"part", source.name}};
}

Json MethodsJson(const PansharpDescription& plugin) {
    Json list = Json::array();
    for (const PansharpMethod& method : hostkit::MethodsOf(plugin))
        list.push_back({{"keyword", method.keyword},
                        {"summary", method.summary},
                        {"least_bands", method.minimumBands},
                        {"fused_bands", method.fusedBands},
                        {"weighs_bands", hostkit::WeighsBands(method)},
                        {"uses_low_pass", hostkit::UsesLowPass(method)}});
    return list;
}

Json MapJson(const ViewedScene& scene) {
    const rasterhost::Scene& images = scene.GetScene();
    Json map = {{"can_name_parts", CanNameParts(scene)}};
    if (const auto place = rasterhost::PlaceOfPart(images, images.part)) map["transform"] = *place;
    const OGRSpatialReference& projection = rasterhost::ProjectionOf(images);
    map["name"] = projection.IsEmpty() ? "" : projection.GetName() ? projection.GetName() : "";
    map["unit"] = "";
    map["metres"] = 0.0;
    if (projection.IsEmpty()) return map;
    const char* unit = nullptr;
    if (projection.IsGeographic()) {
        map["unit"] = "degree";
    } else {
        map["metres"] = projection.GetLinearUnits(&unit);
        map["unit"] = unit ? unit : "";
    }
    return map;
}

Json SamplesOf(const Pixels& pixels) {
    Json samples = Json::array();
    for (std::uint32_t band = 0; band < pixels.bands; ++band)
        samples.push_back(pixels.GetSample(0, band));
    return pixels.valid.empty() || pixels.valid[0] != 0 ? samples : Json();
}

} // namespace

std::vector<int> ShownBands(const ViewedScene& scene, const Look& look) {
    std::vector<int> bands = look.bands.empty() ? scene.GetBase().bands : look.bands;
    if (bands.empty())
        for (const std::size_t band : rasterhost::FindShownBands(scene.GetScene()).bands)
            bands.push_back(static_cast<int>(band) + 1);
    if (scene.GetBands() < 3) bands.resize(1);
    bands.resize(bands.size() < 3 ? 1 : 3);
    return bands;
}

std::string SceneJson(const ViewedScene& scene, const std::string& version) {
    const rasterhost::SharpenRequest& base = scene.GetBase();
    const rasterhost::Scene& images = scene.GetScene();
    Json object = {{"version", version},
                   {"title", std::filesystem::path(base.pan.file).filename().string()},
                   {"columns", scene.GetColumns()},
                   {"rows", scene.GetRows()},
                   {"tile_size", ViewedScene::tileSize},
                   {"most_zoom", scene.GetCoarsest()},
                   {"bits", images.bitDepth},
                   {"may_lack_data", MayLackData(rasterhost::SourcesOf(images))},
                   {"infrared", base.infrared.has_value()}};
    const auto& pan = images.pan->GetInfo();
    const auto coarse = images.GetMultispectral().GetInfo();
    object["ratio"] = {coarse.pixelSizeX / pan.pixelSizeX, coarse.pixelSizeY / pan.pixelSizeY};
    object["map"] = MapJson(scene);
    object["bands"] = Json::array();
    for (std::size_t band = 0; band < scene.GetBands(); ++band)
        object["bands"].push_back(BandJson(images, band));
    object["shown"] = ShownBands(scene, {});
    object["shown_guessed"] = base.bands.empty() && rasterhost::FindShownBands(images).isGuessed;
    object["methods"] = MethodsJson(scene.GetPlugin());
    object["method"] = base.method;
    object["sampling"] = hostkit::NameOf(base.resampling);
    return Print(object);
}

std::string ParametersJson(const Settled& settled) {
    const rasterhost::SharpenRequest& request = settled.request;
    Json object = {{"method", request.method}};
    if (!request.weights.empty()) object["weights"] = request.weights;
    if (request.infraredWeight) object["infrared_weight"] = *request.infraredWeight;
    if (request.transfer) object["mtf"] = *request.transfer;
    if (!request.gains.empty()) object["gains"] = Json::array();
    for (const auto& [gain, ratioGain] : request.gains)
        object["gains"].push_back({gain, ratioGain});
    if (settled.found.fit) object["r_squared"] = settled.found.fit->rSquared;
    return Print(object);
}

std::string SampleJson(ViewedScene& scene, const Request& request) {
    if (request.column >= scene.GetColumns() || request.row >= scene.GetRows())
        throw BadRequest("the pixel does not lie in the scene, which has " +
                         std::to_string(scene.GetColumns()) + " x " + std::to_string(scene.GetRows()));
    const PixelRect pixel{request.column, request.row, request.column + 1, request.row + 1};
    Look look = request.look;
    const auto read = [&](Layer layer) {
        look.layer = layer;
        return SamplesOf(scene.Read(look, 0, pixel));
    };
    Json object = {{"x", request.column}, {"y", request.row}, {"bands", request.look.bands}};
    object["pan"] = read(Layer::Pan);
    object["upsampled"] = read(Layer::Upsampled);
    object["sharpened"] = read(Layer::Sharpened);
    return Print(object);
}

std::string CommandJson(ViewedScene& scene, const Request& request) {
    if (!PixelRect{0, 0, scene.GetColumns(), scene.GetRows()}.Contains(request.window) &&
        !request.window.IsEmpty())
        throw BadRequest("window: it does not lie in the scene");
    const Settled settled = scene.Settle(request.look);
    return Print({{"command", CommandText(scene, settled.request, request.window)},
                  {"is_window", CanNameParts(scene)}});
}

} // namespace view
