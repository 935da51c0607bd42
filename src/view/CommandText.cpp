#include "view/CommandText.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"

#include <algorithm>

namespace view {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::NumberText;
using KOVA::Tessara::Fundament::ToLower;
using rasterhost::InputBand;

namespace {

/// Quotes a word for a shell.
std::string Quote(const std::string& word) {
    constexpr std::string_view plain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+=:,./@%";
    if (!word.empty() && word.find_first_not_of(plain) == std::string::npos) return word;
    std::string quoted = "'";
    for (const char letter : word)
        quoted += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    return quoted + "'";
}

std::string NameOf(const InputBand& input) {
    return Quote(input.file + (input.band ? ",band=" + std::to_string(*input.band) : ""));
}

template <class Range, class Text>
std::string Join(const Range& range, const Text& text) {
    std::string joined;
    for (const auto& item : range)
        joined += (joined.empty() ? "" : ",") + text(item);
    return joined;
}

/// A value that begins with a minus, such as weights, is attached with "=".
std::string Option(const char* name, const std::string& value) {
    return " " + std::string(name) + (value.starts_with('-') ? "=" : " ") + Quote(value);
}

std::string Fusion(const rasterhost::FusionRequest& request) {
    std::string text = Option("--method", ToLower(request.method));
    if (!request.weights.empty()) text += Option("--weights", Join(request.weights, NumberText));
    if (request.infraredWeight) text += Option("--infrared-weight", NumberText(*request.infraredWeight));
    if (request.transfer) text += Option("--mtf", NumberText(*request.transfer));
    if (!request.gains.empty())
        text += Option("--gains", Join(request.gains, [](const rasterhost::BandGains& gains) {
                           return NumberText(gains.gain) + ":" + NumberText(gains.ratioGain);
                       }));
    for (const auto& [name, value] : request.properties)
        text += " --set " + Quote(name + "=" + value);
    return text;
}

std::string Pair(const rasterhost::PairRequest& request) {
    std::string text = Option("--resampling", hostkit::NameOf(request.resampling));
    if (request.infrared) text += " --infrared " + NameOf(*request.infrared);
    if (!request.bands.empty())
        text += Option("--bands", Join(request.bands, [](int band) { return std::to_string(band); }));
    if (request.bitDepth) text += Option("--bit-depth", std::to_string(*request.bitDepth));
    if (request.scale) text += Option("--scale", Join(*request.scale, NumberText));
    if (request.sameCorner) text += " --same-corner";
    if (request.shift.x != 0.0 || request.shift.y != 0.0)
        text += Option("--shift", NumberText(request.shift.x) + "," + NumberText(request.shift.y));
    if (request.noData) text += Option("--nodata", NumberText(*request.noData));
    if (request.ignoreNoData) text += " --no-nodata";
    return text;
}

/// The window in map units, with corners on the edges of pixels.
std::string Part(const ViewedScene& scene, const PixelRect& window) {
    const auto& pan = scene.GetScene().pan->GetInfo();
    const PixelRect& part = scene.GetScene().part;
    const auto x = [&](std::uint32_t column) {
        return NumberText(pan.xMin + (part.col0 + column) * pan.pixelSizeX);
    };
    const auto y = [&](std::uint32_t row) {
        return NumberText(pan.yMax - (part.row0 + row) * pan.pixelSizeY);
    };
    return " --projwin " + x(window.col0) + " " + y(window.row0) + " " + x(window.col1) + " " +
           y(window.row1);
}

} // namespace

bool CanNameParts(const ViewedScene& scene) {
    const rasterhost::ImageDescription& pan = *scene.GetScene().pan->GetDescription();
    return pan.IsGeoreferenced() && pan.isNorthUp;
}

std::string CommandText(const ViewedScene& scene, const rasterhost::SharpenRequest& request,
                        const PixelRect& window) {
    PixelRect named = window.IsEmpty() ? PixelRect{0, 0, scene.GetColumns(), scene.GetRows()} : window;
    std::string text = "pansharp sharpen";
    if (!request.product.empty()) {
        text += " " + Quote(request.product);
    } else {
        text += " " + NameOf(request.pan);
        for (const InputBand& input : request.multispectral)
            text += " " + NameOf(input);
    }
    text += " -o window.tif" + Fusion(request) + Pair(request);
    if (!request.plugin.empty()) text += Option("--plugin", request.plugin);
    const auto& pan = scene.GetScene().pan->GetInfo();
    const bool isAll = named == PixelRect{0, 0, pan.cols, pan.rows};
    if (!isAll && CanNameParts(scene)) text += Part(scene, named);
    return text;
}

} // namespace view
