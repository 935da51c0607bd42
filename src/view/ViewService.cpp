#include "view/ViewService.h"

#include "fundament/Text.h"
#include "hostkit/Coarsening.h"
#include "rasterhost/requests/GdalErrors.h"
#include "view/BadRequest.h"
#include "view/CommandText.h"
#include "view/SceneJson.h"
#include "view/TileImage.h"
#include "view/WindowFile.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <utility>

namespace view {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::FormatString;

namespace {

constexpr const char* jsonType = "application/json";
constexpr const char* textType = "text/plain; charset=utf-8";

HttpReply MakeReply(unsigned status, const char* type, std::string text) {
    return {status, type, std::make_shared<const std::string>(std::move(text)), {}};
}

/// Headers of every reply: pages of other origins may read nothing, and browsers must not guess content
/// types.
void AddHeaders(HttpReply& reply) {
    const auto add = [&](const char* name, const char* value) {
        for (const auto& [known, text] : reply.headers)
            if (known == name) return;
        reply.headers.emplace_back(name, value);
    };
    add("Cache-Control", "no-cache");
    add("X-Content-Type-Options", "nosniff");
    add("Cross-Origin-Resource-Policy", "same-origin");
    add("Referrer-Policy", "no-referrer");
    add("Content-Security-Policy",
        "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; "
        "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
}

std::string MakeVersion() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return FormatString("%llx", static_cast<unsigned long long>(
                                    std::chrono::duration_cast<std::chrono::microseconds>(now).count()));
}

constexpr const char* noPage =
    "<!doctype html><html lang=\"en\"><title>pansharp view</title><h1>The page is not built</h1><p>This "
    "pansharp serves tiles, but its page is missing: run <code>scripts/setup --view</code> and build it "
    "again.</p></html>";

} // namespace

bool IsOwnHost(const std::string& host, const std::string& own) {
    if (host.empty()) return false;
    if (host.front() == '[') {
        const std::size_t end = host.find(']');
        const std::string inside = host.substr(1, end == std::string::npos ? end : end - 1);
        return end != std::string::npos &&
               inside.find_first_not_of("0123456789abcdefABCDEF:.") == std::string::npos;
    }
    const std::string name = host.substr(0, host.find(':'));
    return name == "localhost" || name == own ||
           (!name.empty() && name.find_first_not_of("0123456789.") == std::string::npos);
}

ViewService::ViewService(ViewedScene& viewedScene, std::string host, MakeQuality makeQuality)
    : scene(viewedScene), ownHost(std::move(host)), version(MakeVersion()), page(ReadPageFiles()),
      quality(std::move(makeQuality)) {}

HttpReply ViewService::Answer(const HttpRequest& http) {
    HttpReply reply;
    try {
        const rasterhost::GdalErrors silence;
        if (!IsOwnHost(http.host, ownHost))
            throw BadRequest("this server is not called '" + http.host.substr(0, 80) +
                                 "'; use the address that pansharp printed",
                             421);
        Request request = ReadRequest(http.target);
        request.look.isWanted = [&http] { return !http.isGone || !http.isGone(); };
        if (request.kind != Request::Kind::Page &&
            (http.fetchSite == "cross-site" || http.fetchSite == "same-site"))
            throw BadRequest("requests from pages of other origins are refused", 403);
        reply = Choose(request, http);
    } catch (const BadRequest& error) {
        reply = MakeReply(error.status, textType, std::string(error.what()) + "\n");
    } catch (const std::bad_alloc&) {
        reply = MakeReply(503, textType, "there is not enough memory; close other pages and try again\n");
    } catch (const std::exception& error) {
        reply = MakeReply(500, textType, std::string(error.what()) + "\n");
    }
    if (reply.status == 503) reply.headers.emplace_back("Retry-After", "3");
    AddHeaders(reply);
    return reply;
}

HttpReply ViewService::Choose(const Request& request, const HttpRequest& http) {
    using Kind = Request::Kind;
    switch (request.kind) {
    case Kind::Page:
        return GetPage(request.page);
    case Kind::Scene:
        return MakeReply(200, jsonType, SceneJson(scene, version));
    case Kind::Parameters:
        return MakeReply(200, jsonType, ParametersJson(scene.Settle(request.look)));
    case Kind::Sample:
        return MakeReply(200, jsonType, SampleJson(scene, request));
    case Kind::Command:
        return MakeReply(200, jsonType, CommandJson(scene, request));
    case Kind::Quality:
        return MakeReply(200, jsonType, quality.Get());
    case Kind::Window:
        return GetWindow(request);
    case Kind::Tile:
        break;
    }
    return GetTile(request, http);
}

HttpReply ViewService::GetPage(const std::string& path) const {
    if (page.empty() && path == "/") return MakeReply(200, "text/html; charset=utf-8", noPage);
    const auto found = page.find(path);
    if (found == page.end()) throw BadRequest("there is nothing at '" + path.substr(0, 80) + "'", 404);
    return {200, found->second.type, found->second.content, {}};
}

HttpReply ViewService::GetTile(const Request& request, const HttpRequest& http) {
    constexpr const char* types[] = {"image/jpeg", "image/png", "application/octet-stream"};
    const std::string tag =
        "\"" + version + "-" + FormatString("%zx", std::hash<std::string>()(http.target)) + "\"";
    HttpReply reply{200, types[static_cast<std::size_t>(request.format)], nullptr, {}};
    reply.headers.emplace_back("ETag", tag);
    if (request.version == version)
        reply.headers.emplace_back("Cache-Control", "private, max-age=86400, immutable");
    if (http.ifNoneMatch.find(tag) != std::string::npos) {
        reply.status = 304;
        reply.type.clear();
        return reply;
    }
    reply.body = cache.Find(http.target);
    if (reply.body) return reply;
    reply.body = std::make_shared<const std::string>(MakeTile(request));
    cache.Put(http.target, reply.body);
    return reply;
}

std::string ViewService::MakeTile(const Request& request) {
    const unsigned coarsest = scene.GetCoarsest();
    if (request.zoom > coarsest)
        throw BadRequest("the scene has the zooms 0 to " + std::to_string(coarsest), 404);
    const unsigned level = coarsest - request.zoom;
    constexpr std::uint32_t tileSide = ViewedScene::tileSize;
    const std::uint32_t columns = hostkit::CoarseCount(scene.GetColumns(), level),
                        rows = hostkit::CoarseCount(scene.GetRows(), level);
    if (request.column > (columns - 1) / tileSide || request.row > (rows - 1) / tileSide)
        throw BadRequest(FormatString("there is no such tile: at zoom %u there are columns 0 to %u and rows "
                                      "0 to %u",
                                      request.zoom, (columns - 1) / tileSide, (rows - 1) / tileSide),
                         404);
    const PixelRect rect{request.column * tileSide, request.row * tileSide,
                         std::min((request.column + 1) * tileSide, columns),
                         std::min((request.row + 1) * tileSide, rows)};
    Look look = request.look;
    if (request.format != TileFormat::Raw) look.bands = ShownBands(scene, look);
    const Pixels pixels = scene.Read(look, level, rect);
    if (request.format == TileFormat::Raw)
        return {reinterpret_cast<const char*>(pixels.samples.data()), pixels.samples.size()};
    std::vector<Stretch> stretches;
    if (look.layer == Layer::Pan)
        stretches.push_back(scene.FindStretch(0, look.stretch));
    else
        for (const int band : look.bands)
            stretches.push_back(scene.FindStretch(band, look.stretch));
    return EncodeTile(pixels, stretches, request.format);
}

HttpReply ViewService::GetWindow(const Request& request) {
    PixelRect window = request.window;
    const PixelRect all{0, 0, scene.GetColumns(), scene.GetRows()};
    if (window.IsEmpty()) window = all;
    if (!all.Contains(window))
        throw BadRequest(FormatString("window: the scene has %u x %u pixels", all.col1, all.row1));
    HttpReply reply{200, "image/tiff", MakeWindowFile(scene, request.look, window, windows), {}};
    reply.headers.emplace_back("Content-Disposition", "attachment; filename=\"window.tif\"");
    return reply;
}

} // namespace view
