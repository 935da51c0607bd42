#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace view {

/// A request of a client.
struct HttpRequest {
    std::string target;                       ///< path and query, as sent
    std::string host, ifNoneMatch, fetchSite; ///< headers with these names; empty when not sent
    std::function<bool()> isGone;             ///< true once the client no longer waits
};

/// The reply to it.
struct HttpReply {
    unsigned status = 200;
    std::string type; ///< of the content
    std::shared_ptr<const std::string> body;
    std::vector<std::pair<std::string, std::string>> headers;
};

/// Answers a request, on any of several threads. An exception becomes a reply with status 500.
using HttpHandler = std::function<HttpReply(const HttpRequest&)>;

struct HttpOptions {
    std::string address = "127.0.0.1"; ///< numeric
    std::uint16_t port = 0;            ///< 0 for any free port
    std::size_t threads = 2;           ///< number of answering threads
    unsigned mostConnections = 512;    ///< open at a time; others wait
    unsigned mostSeconds = 10;         ///< seconds that a connection may be silent
};

/// An HTTP server for GET and HEAD. Each request waits for one of the threads; a request whose client has
/// gone is dropped.
class HttpServer {
public:
    /// Starts to listen. Null, with the reason in words, on failure.
    [[nodiscard]] static std::unique_ptr<HttpServer> Start(const HttpOptions& options, HttpHandler handler,
                                                           std::string& reason);
    HttpServer() = default;
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;
    virtual ~HttpServer() = default; ///< waits for replies in progress

    [[nodiscard]] virtual std::uint16_t GetPort() const = 0;
};

/// False when this program was built without a server; Start then fails with that reason.
[[nodiscard]] bool HasHttpServer();

} // namespace view
