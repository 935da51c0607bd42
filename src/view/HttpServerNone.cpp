#include "view/HttpServer.h"

namespace view {

std::unique_ptr<HttpServer> HttpServer::Start(const HttpOptions&, HttpHandler, std::string& reason) {
    reason = "this pansharp was built without libmicrohttpd, which 'pansharp view' serves with: run "
             "scripts/setup --view and build it again";
    return nullptr;
}

bool HasHttpServer() { return false; }

} // namespace view
