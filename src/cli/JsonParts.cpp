#include "cli/JsonParts.h"

#include "cli/StatusText.h"
#include "rasterhost/requests/RecordPart.h"

namespace cli {

using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Fundament::StatusItem;

Json JsonHead(std::string_view command, ExitCode code) {
    Json object;
    object["command"] = command;
    object["ok"] = code == Done;
    object["exit_code"] = static_cast<int>(code);
    object["version"] = PANSHARP_VERSION;
    return object;
}

Json JsonStatus(const Status& status) {
    Json items = Json::array();
    for (const StatusItem& item : SayingItems(status))
        items.push_back({{"id", FormatId(item.id)},
                         {"message", item.message},
                         {"source", item.source},
                         {"details", item.details}});
    return items;
}

Json JsonInput(const rasterhost::InputBand& input) {
    Json object = {{"file", input.file}};
    if (input.band) object["band"] = *input.band;
    if (!input.name.empty()) object["name"] = input.name;
    if (input.wavelength) object["wavelength_um"] = *input.wavelength;
    if (input.meaning) object["scale"] = input.meaning->scale;
    if (input.meaning) object["offset"] = input.meaning->offset;
    return object;
}

Json JsonInputs(const std::vector<rasterhost::InputBand>& inputs) {
    Json list = Json::array();
    for (const rasterhost::InputBand& input : inputs)
        list.push_back(JsonInput(input));
    return list;
}

Json JsonProduct(const rasterhost::Product& product) {
    Json object = {{"kind", product.kind}, {"name", product.name}, {"metadata", product.metadata}};
    if (!product.sensor.empty()) object["sensor"] = product.sensor;
    if (!product.acquired.empty()) object["acquired"] = product.acquired;
    object["pan"] = JsonInput(product.pan);
    object["bands"] = JsonInputs(product.bands);
    if (product.noData) object["no_data"] = *product.noData;
    if (product.bitDepth) object["bit_depth"] = *product.bitDepth;
    if (const auto transfers = rasterhost::TransfersOf(product); !transfers.empty())
        object["published_modulation_transfer"] = transfers;
    object["left_out"] = Json::array();
    for (const auto& [what, why] : product.leftOut)
        object["left_out"].push_back({{"what", what}, {"why", why}});
    return object;
}

Json ReadJson(const std::string& text) {
    try {
        return rasterhost::RecordPart::Parse(text);
    } catch (const rasterhost::RecordFault&) {
        return {};
    }
}

std::string PrintJson(const Json& object) {
    return object.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace cli
