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

/// Answers the requests of the page and for its tiles. Any number of threads may use it.
class ViewService {
public:
    /// `host` is the address that the server listens to, which clients may use as its name.
    ViewService(ViewedScene& viewedScene, std::string host, MakeQuality makeQuality);

    /// Does not throw, whatever a client asks.
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
    const std::string version; ///< of this run; a client's cached replies are valid for one version
    const std::map<std::string, PageFile> page;
    TileCache cache{std::size_t{64} << 20};
    MemoryBudget windows{std::size_t{256} << 20}; ///< being made or sent
    QualityTable quality;
};

/// Whether the host name of a request belongs to this server: an address in digits, "localhost", or `own`.
/// Any other name may be that of a foreign page, made to lead here.
[[nodiscard]] bool IsOwnHost(const std::string& host, const std::string& own);

} // namespace view
