#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace view {

/// What a client asks.
struct HttpRequest {
    std::string target;                       ///< the path and what stands behind it, as sent
    std::string host, ifNoneMatch, fetchSite; ///< headers of these names; empty where not sent
    std::function<bool()> isGone;             ///< true once the client does not wait any more
};

/// What it gets.
struct HttpReply {
    unsigned status = 200;
    std::string type; ///< of the content
    std::shared_ptr<const std::string> body;
    std::vector<std::pair<std::string, std::string>> headers;
};

/// Answers a request, on any of several threads. What it throws becomes an answer with the status 500.
using HttpHandler = std::function<HttpReply(const HttpRequest&)>;

struct HttpOptions {
    std::string address = "127.0.0.1"; ///< in digits
    std::uint16_t port = 0;            ///< 0 for any that is free
    std::size_t threads = 2;           ///< that answer
    unsigned mostConnections = 512;    ///< at a time; others wait
    unsigned mostSeconds = 10;         ///< that a connection may be silent
};

/// A server of HTTP, for GET and HEAD only. Each request waits for one of the threads; one whose client has
/// gone is dropped.
class HttpServer {
public:
    /// Starts to listen. Null with the reason in words.
    [[nodiscard]] static std::unique_ptr<HttpServer> Start(const HttpOptions& options, HttpHandler handler,
                                                           std::string& reason);
    HttpServer() = default;
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;
    virtual ~HttpServer() = default; ///< what is being answered is waited for

    [[nodiscard]] virtual std::uint16_t GetPort() const = 0;
};

/// False when this program was built without a server; Start says so, too.
[[nodiscard]] bool HasHttpServer();

} // namespace view
