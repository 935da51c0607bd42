#pragma once

#include "view/HttpServer.h"
#include "view/MemoryBudget.h"
#include "view/PageFiles.h"
#include "view/QualityTable.h"
#include "view/TileCache.h"
#include "view/ViewedScene.h"

#include <map>
#include <string>

namespace view {

/// What a page and its tiles are asked by: requests in, answers out. For any number of threads.
class ViewService {
public:
    /// `host` is what the server listens to, by which it may be called.
    ViewService(ViewedScene& viewedScene, std::string host, MakeQuality makeQuality);

    /// Never throws for what a client asks.
    [[nodiscard]] HttpReply Answer(const HttpRequest& request);

    [[nodiscard]] bool HasPage() const { return !page.empty(); }

private:
    HttpReply Choose(const Request& request, const HttpRequest& http);
    HttpReply GetPage(const std::string& path) const;
    HttpReply GetTile(const Request& request, const HttpRequest& http);
    std::string MakeTile(const Request& request);
    HttpReply GetWindow(const Request& request);

    ViewedScene& scene;
    const std::string ownHost;
    const std::string version; ///< of this run: what is cached by others is good as long
    const std::map<std::string, PageFile> page;
    TileCache cache{std::size_t{64} << 20};
    MemoryBudget windows{std::size_t{256} << 20}; ///< that are being made or sent
    QualityTable quality;
};

/// Whether a request that calls the server so is for it: by an address in digits, by "localhost", or by
/// `own`. Others may be pages elsewhere whose name was made to lead here.
[[nodiscard]] bool IsOwnHost(const std::string& host, const std::string& own);

} // namespace view
