#include "view/Request.h"

#include "view/BadRequest.h"
#include "view/Query.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace view {

namespace {

constexpr std::size_t mostBands = 1024, longestWord = 64;
constexpr double mostWeight = 1e6, mostStretch = 25.0;
constexpr std::uint32_t mostPixel = std::numeric_limits<std::int32_t>::max();

/// One of a few words.
template <class Value, std::size_t count>
Value ReadChoice(std::string_view name, std::string_view text,
                 const std::array<std::pair<const char*, Value>, count>& known) {
    std::string listed;
    for (const auto& [word, value] : known) {
        if (text == word) return value;
        listed += (listed.empty() ? "" : " or ") + std::string(word);
    }
    throw BadRequest(std::string(name) + ": give " + listed);
}

/// A list of at most `mostBands` parts; empty for an empty text.
template <class Item, class Read>
std::vector<Item> ReadList(std::string_view name, const std::string& text, const Read& read) {
    std::vector<Item> items;
    if (text.empty()) return items;
    for (const std::string_view part : Split(text, ',')) {
        if (items.size() == mostBands)
            throw BadRequest(std::string(name) + ": there are more than " + std::to_string(mostBands) +
                             " numbers; give one per band");
        items.push_back(read(part));
    }
    return items;
}

rasterhost::BandGains ReadGains(std::string_view text) {
    const auto parts = Split(text, ':');
    if (parts.size() != 2) throw BadRequest("gains: give two numbers for each band, as in 0.4:0.6,0.5:0.5");
    return {ReadNumber("gains", parts[0], 0.0, mostWeight), ReadNumber("gains", parts[1], 0.0, mostWeight)};
}

std::vector<int> ReadBands(const std::string& text) {
    auto bands = ReadList<int>("bands", text, [](std::string_view part) {
        return static_cast<int>(ReadWhole("bands", part, 1, 65535));
    });
    for (const int band : bands)
        if (std::count(bands.begin(), bands.end(), band) > 1)
            throw BadRequest("bands: band " + std::to_string(band) + " is named twice; name each once");
    return bands;
}

Look ReadLook(Query& query) {
    Look look;
    if (const auto layer = query.Take("layer"))
        look.layer =
            ReadChoice("layer", *layer,
                       std::array{std::pair("pan", Layer::Pan), std::pair("upsampled", Layer::Upsampled),
                                  std::pair("sharpened", Layer::Sharpened)});
    look.method = query.Take("method").value_or("");
    if (look.method.size() > longestWord) throw BadRequest("method: the name is too long");
    if (const auto sampling = query.Take("sampling"))
        look.sampling = ReadChoice("sampling", *sampling,
                                   std::array{std::pair("bilinear", hostkit::Resampling::Bilinear),
                                              std::pair("cubic", hostkit::Resampling::Cubic)});
    if (const auto weights = query.Take("weights"))
        look.weights = ReadList<double>("weights", *weights, [](std::string_view part) {
            return ReadNumber("weights", part, -mostWeight, mostWeight);
        });
    if (const auto weight = query.Take("infrared_weight"))
        look.infraredWeight = ReadNumber("infrared_weight", *weight, -mostWeight, mostWeight);
    if (const auto transfer = query.Take("mtf")) look.transfer = ReadNumber("mtf", *transfer, 0.05, 0.9);
    if (const auto gains = query.Take("gains"))
        look.gains = ReadList<rasterhost::BandGains>("gains", *gains, ReadGains);
    look.bands = ReadBands(query.Take("bands").value_or(""));
    if (const auto stretch = query.Take("stretch"))
        look.stretch = ReadNumber("stretch", *stretch, 0.0, mostStretch);
    return look;
}

/// "/tiles/Z/X/Y.png"
void ReadTile(const std::vector<std::string_view>& parts, Request& request) {
    if (parts.size() != 5) throw BadRequest("the address of a tile is /tiles/ZOOM/COLUMN/ROW.jpg", 404);
    const std::size_t dot = std::min(parts[4].rfind('.'), parts[4].size());
    request.kind = Request::Kind::Tile;
    request.zoom = ReadWhole("the zoom of a tile", parts[2], 0, mostZoom);
    request.column = ReadWhole("the column of a tile", parts[3], 0, mostPixel);
    request.row = ReadWhole("the row of a tile", parts[4].substr(0, dot), 0, mostPixel);
    request.format =
        ReadChoice("the ending of a tile", parts[4].substr(dot),
                   std::array{std::pair(".jpg", TileFormat::Jpeg), std::pair(".png", TileFormat::Png),
                              std::pair(".raw", TileFormat::Raw)});
}

hostkit::PixelRect ReadWindow(const std::string& text) {
    const auto parts = Split(text, ',');
    if (parts.size() != 4)
        throw BadRequest("window: give four numbers, LEFT,TOP,RIGHT,BOTTOM in pixels of pan");
    const auto read = [&](std::size_t part) { return ReadWhole("window", parts[part], 0, mostPixel); };
    const hostkit::PixelRect window{read(0), read(1), read(2), read(3)};
    if (window.IsEmpty()) throw BadRequest("window: the right and lower edge lie beyond the left and upper");
    return window;
}

void ReadPixel(Query& query, Request& request) {
    const auto read = [&](const char* name) {
        const auto text = query.Take(name);
        if (!text) throw BadRequest(std::string(name) + " is missing; give the pixel's place, x and y");
        return ReadWhole(name, *text, 0, mostPixel);
    };
    request.column = read("x");
    request.row = read("y");
}

} // namespace

Request ReadRequest(std::string_view target) {
    if (target.size() > longestTarget) throw BadRequest("the request is too long", 414);
    const std::size_t mark = std::min(target.find('?'), target.size());
    const std::string path = DecodePercent(target.substr(0, mark));
    Query query(mark < target.size() ? target.substr(mark + 1) : std::string_view());
    Request request;
    request.version = query.Take("v").value_or("");
    using Kind = Request::Kind;
    constexpr std::array known = {
        std::pair("/scene.json", Kind::Scene),   std::pair("/parameters.json", Kind::Parameters),
        std::pair("/sample.json", Kind::Sample), std::pair("/command.json", Kind::Command),
        std::pair("/window.tif", Kind::Window),  std::pair("/quality.json", Kind::Quality)};
    const auto* found =
        std::find_if(known.begin(), known.end(), [&](const auto& each) { return path == each.first; });
    if (path.starts_with("/tiles/")) {
        ReadTile(Split(path, '/'), request);
    } else if (found != known.end()) {
        request.kind = found->second;
    } else {
        request.page = path;
        return request; // a link to the page may have any query
    }
    request.look = ReadLook(query);
    if (request.kind == Kind::Sample) ReadPixel(query, request);
    if (const auto window = query.Take("window")) request.window = ReadWindow(*window);
    query.RefuseOthers();
    return request;
}

} // namespace view
