#include "view/HttpServer.h"

#include <arpa/inet.h>
#include <microhttpd.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

namespace view {

namespace {

/// One request, from its first header until its reply is sent.
struct Exchange {
    HttpRequest request;
    MHD_Connection* connection = nullptr;
    bool isBegun = false;    ///< the headers were read
    bool isAnswered = false; ///< `reply` is there
    bool hasBody = false;
    HttpReply reply;
};

HttpReply Refuse(unsigned status, const std::string& text) {
    return {status, "text/plain; charset=utf-8", std::make_shared<const std::string>(text + "\n"), {}};
}

std::string HeaderOf(MHD_Connection* connection, const char* name) {
    const char* value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
    return value ? value : "";
}

/// True when the other end has closed. Only valid while the connection is suspended.
bool IsClosed(int socket) {
    char byte;
    const ssize_t got = recv(socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return got == 0 || (got < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR);
}

/// A numeric address and a port, in the system's form.
struct SocketAddress {
    sockaddr_storage storage{};
    bool isSix = false;

    bool Set(const std::string& address, std::uint16_t port) {
        auto* four = reinterpret_cast<sockaddr_in*>(&storage);
        auto* six = reinterpret_cast<sockaddr_in6*>(&storage);
        if (inet_pton(AF_INET, address.c_str(), &four->sin_addr) == 1) {
            four->sin_family = AF_INET;
            four->sin_port = htons(port);
            return true;
        }
        isSix = inet_pton(AF_INET6, address.c_str(), &six->sin6_addr) == 1;
        six->sin6_family = AF_INET6;
        six->sin6_port = htons(port);
        return isSix;
    }
};

constexpr char noThread[] =
    "no thread can be started to answer requests; end other programs or raise the limit "
    "of processes (ulimit -u)";

class MicroServer final : public HttpServer {
public:
    MicroServer(const HttpOptions& serverOptions, HttpHandler requestHandler)
        : options(serverOptions), handler(std::move(requestHandler)) {}

    bool Open(std::string& reason) {
        SocketAddress address;
        if (!address.Set(options.address, options.port)) {
            reason = "'" + options.address + "' is not an address in digits, such as 127.0.0.1 or ::1";
            return false;
        }
        const unsigned flags = MHD_USE_EPOLL | MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_SUSPEND_RESUME |
                               (address.isSix ? static_cast<unsigned>(MHD_USE_IPv6) : 0u);
        constexpr std::size_t headerBytes = std::size_t{32} * 1024;
        errno = 0;
        daemon = MHD_start_daemon(
            flags, options.port, nullptr, nullptr, &MicroServer::Access, this, MHD_OPTION_SOCK_ADDR,
            reinterpret_cast<sockaddr*>(&address.storage), MHD_OPTION_CONNECTION_LIMIT,
            options.mostConnections, MHD_OPTION_CONNECTION_TIMEOUT, options.mostSeconds,
            MHD_OPTION_CONNECTION_MEMORY_LIMIT, headerBytes, MHD_OPTION_URI_LOG_CALLBACK, &MicroServer::Begin,
            this, MHD_OPTION_NOTIFY_COMPLETED, &MicroServer::End, this, MHD_OPTION_END);
        if (!daemon && errno == EAGAIN) {
            reason = noThread;
            return false;
        }
        if (!daemon) {
            reason =
                options.address + " port " + std::to_string(options.port) + " cannot be listened to" +
                (errno != 0 ? std::string(": ") + std::strerror(errno) : std::string()) +
                (errno == EADDRNOTAVAIL ? "; this machine does not have the address: choose another --listen"
                                        : "; choose another --port");
            return false;
        }
        try {
            for (std::size_t i = 0; i < options.threads; ++i)
                threads.emplace_back([this] { Work(); });
        } catch (const std::system_error&) {
            // fewer answer
        }
        if (threads.empty()) reason = noThread;
        return !threads.empty();
    }

    ~MicroServer() override {
        if (!daemon) return;
        const MHD_socket listening = MHD_quiesce_daemon(daemon); // no new connections
        {
            const std::scoped_lock lock(mutex);
            isStopping = true;
        }
        wake.notify_all();
        for (std::thread& thread : threads)
            thread.join();
        for (Exchange* left : waiting) {
            left->reply = Refuse(503, "the server is stopping");
            left->isAnswered = true;
            MHD_resume_connection(left->connection);
        }
        MHD_stop_daemon(daemon);
        if (listening != MHD_INVALID_SOCKET) (void)close(listening);
    }

    [[nodiscard]] std::uint16_t GetPort() const override {
        const MHD_DaemonInfo* info = MHD_get_daemon_info(daemon, MHD_DAEMON_INFO_BIND_PORT);
        return info ? info->port : options.port;
    }

private:
    /// Called first for a request.
    static void* Begin(void*, const char* target, MHD_Connection*) {
        try {
            auto exchange = std::make_unique<Exchange>();
            exchange->request.target = target;
            return exchange.release();
        } catch (const std::exception&) {
            return nullptr; // no memory: the connection is closed
        }
    }

    static void End(void*, MHD_Connection*, void** own, MHD_RequestTerminationCode) {
        delete static_cast<Exchange*>(*own);
        *own = nullptr;
    }

    static MHD_Result Access(void* self, MHD_Connection* connection, const char*, const char* method,
                             const char*, const char*, std::size_t* bodyBytes, void** own) {
        auto* exchange = static_cast<Exchange*>(*own);
        if (!exchange) return MHD_NO;
        try {
            return static_cast<MicroServer*>(self)->Go(*exchange, connection, method, *bodyBytes);
        } catch (const std::exception&) {
            return MHD_NO;
        }
    }

    /// Called after the headers, for each piece of a body, and to send the reply.
    MHD_Result Go(Exchange& exchange, MHD_Connection* connection, const std::string& method,
                  std::size_t& bodyBytes) {
        if (!exchange.isBegun) {
            exchange.isBegun = true;
            exchange.connection = connection;
            return MHD_YES;
        }
        if (bodyBytes > 0) { // read and ignored
            exchange.hasBody = true;
            bodyBytes = 0;
            return MHD_YES;
        }
        if (exchange.isAnswered) return Send(exchange.reply, connection);
        if (method != "GET" && method != "HEAD")
            return Send(Refuse(405, "only the methods GET and HEAD are answered"), connection);
        if (exchange.hasBody) return Send(Refuse(400, "requests with a body are refused"), connection);
        exchange.request.host = HeaderOf(connection, MHD_HTTP_HEADER_HOST);
        exchange.request.ifNoneMatch = HeaderOf(connection, MHD_HTTP_HEADER_IF_NONE_MATCH);
        exchange.request.fetchSite = HeaderOf(connection, "Sec-Fetch-Site");
        const MHD_ConnectionInfo* info =
            MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
        exchange.request.isGone = [socket = info ? info->connect_fd : -1] { return IsClosed(socket); };
        const std::scoped_lock lock(mutex);
        if (isStopping) return MHD_NO;
        waiting.push_back(&exchange);
        MHD_suspend_connection(connection);
        wake.notify_one();
        return MHD_YES;
    }

    static MHD_Result Send(const HttpReply& reply, MHD_Connection* connection) {
        // The body must live as long as it is being sent.
        auto kept = std::make_unique<std::shared_ptr<const std::string>>(
            reply.body ? reply.body : std::make_shared<const std::string>());
        const std::string& body = **kept;
        MHD_Response* response = MHD_create_response_from_buffer_with_free_callback_cls(
            body.size(), const_cast<char*>(body.data()), &MicroServer::Free, kept.get());
        if (!response) return MHD_NO;
        (void)kept.release(); // the response frees it
        if (!reply.type.empty())
            MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, reply.type.c_str());
        for (const auto& [name, value] : reply.headers)
            MHD_add_response_header(response, name.c_str(), value.c_str());
        const MHD_Result result = MHD_queue_response(connection, reply.status, response);
        MHD_destroy_response(response);
        return result;
    }

    static void Free(void* own) { delete static_cast<std::shared_ptr<const std::string>*>(own); }

    /// Answers requests one after another.
    void Work() {
        for (;;) {
            Exchange* exchange = nullptr;
            {
                std::unique_lock lock(mutex);
                wake.wait(lock, [this] { return isStopping || !waiting.empty(); });
                if (isStopping) return;
                exchange = waiting.front();
                waiting.pop_front();
            }
            try {
                exchange->reply =
                    exchange->request.isGone() ? Refuse(503, "gone") : handler(exchange->request);
            } catch (const std::exception& error) {
                exchange->reply = Refuse(500, error.what());
            }
            exchange->isAnswered = true;
            MHD_resume_connection(exchange->connection);
        }
    }

    const HttpOptions options;
    const HttpHandler handler;
    MHD_Daemon* daemon = nullptr;
    std::vector<std::thread> threads;
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<Exchange*> waiting; ///< suspended; each belongs to its connection
    bool isStopping = false;
};

} // namespace

std::unique_ptr<HttpServer> HttpServer::Start(const HttpOptions& options, HttpHandler handler,
                                              std::string& reason) {
    auto server = std::make_unique<MicroServer>(options, std::move(handler));
    if (!server->Open(reason)) return nullptr;
    return server;
}

bool HasHttpServer() { return true; }

} // namespace view
