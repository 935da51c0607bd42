#pragma once

#include "cli/ExitCode.h"
#include "fundament/Status.h"
#include "rasterhost/fusing/Sharpen.h"
#include "rasterhost/products/FindProduct.h"
#include "rasterhost/requests/Json.h"

#include <string>
#include <string_view>

/// Common parts of the objects that "--json" prints.
namespace cli {

using rasterhost::Json;

/// "command", "ok", "exit_code" and "version".
[[nodiscard]] Json JsonHead(std::string_view command, ExitCode code);
[[nodiscard]] Json JsonStatus(const KOVA::Tessara::Fundament::Status& status);
[[nodiscard]] Json JsonInput(const rasterhost::InputBand& input);
[[nodiscard]] Json JsonInputs(const std::vector<rasterhost::InputBand>& inputs);
/// The product that was recognised, and what is left out.
[[nodiscard]] Json JsonProduct(const rasterhost::Product& product);
/// What a text holds, within the bounds of a description (RecordPart::Parse); null when it is not such JSON.
[[nodiscard]] Json ReadJson(const std::string& text);
/// An object as text, ending in a line feed.
[[nodiscard]] std::string PrintJson(const Json& object);

} // namespace cli
