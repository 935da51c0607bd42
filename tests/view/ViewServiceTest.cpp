#include "view/ViewService.h"

#include "view/BadRequest.h"
#include "view/WindowFile.h"

#include "SceneFiles.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <thread>

namespace {

using namespace testfiles;
using namespace view;
using rasterhost::SharpenRequest;

constexpr int panSize = 300;

/// A pair of 16 bits at ratio 4 that lacks data in a corner.
SharpenRequest WritePair(const Folder& folder) {
    SharpenRequest request;
    request.plugin = PANSHARP_PLUGIN_FILE;
    const auto value = [](int c, int r, int b) { return (c * 7919 + r * 104729 + b * 1299709) % 60000 + 1; };
    request.pan.file =
        folder.Write("pan.tif", {panSize, panSize, 1, GDT_UInt16, Grid(10.0), "EPSG:32630", 0.0},
                     [&](int c, int r, int b) { return c + r < 40 ? 0 : value(c, r, b); });
    request.multispectral = {
        {folder.Write("ms.tif", {panSize / 4, panSize / 4, 4, GDT_UInt16, Grid(40.0), "EPSG:32630"},
                      [&](int c, int r, int b) { return value(c / 3, r / 3, b + 1); }),
         {}}};
    request.output = folder / "fused.tif";
    request.overwrite = true;
    request.threads = 1; // of the command: ThreadSanitizer does not understand oneTBB's scheduling
    return request;
}

/// Sends bytes and returns what comes back, until the server closes or has sent everything.
std::string Ask(std::uint16_t port, const std::string& bytes) {
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::string reply;
    if (connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size())) {
        char buffer[4096];
        for (ssize_t got; (got = recv(socket, buffer, sizeof buffer, 0)) > 0;)
            reply.append(buffer, static_cast<std::size_t>(got));
    }
    close(socket);
    return reply;
}

/// A scene that is served as users see it.
class ViewServiceTest : public testing::Test {
protected:
    void SetUp() override {
        request = WritePair(folder);
        Serve();
    }
    void Serve() {
        server.reset();
        rasterhost::Status status;
        scene = ViewedScene::Open(
            request, nullptr, 2, [](const std::string&) {}, status);
        ASSERT_TRUE(scene) << status.ToText();
        service = std::make_unique<ViewService>(
            *scene, "own.example", [](const auto&) -> std::string { throw std::runtime_error("no table"); });
        std::string reason;
        server = HttpServer::Start(
            {}, [this](const HttpRequest& asked) { return service->Answer(asked); }, reason);
        ASSERT_TRUE(server) << reason;
    }

    [[nodiscard]] std::string Get(const std::string& target, const std::string& headers = "Host: 127.0.0.1") {
        return Ask(server->GetPort(),
                   "GET " + target + " HTTP/1.1\r\n" + headers + "\r\nConnection: close\r\n\r\n");
    }
    [[nodiscard]] std::string Body(const std::string& target) {
        const std::string reply = Get(target);
        EXPECT_TRUE(reply.starts_with("HTTP/1.1 200")) << target << ": " << reply.substr(0, 800);
        return reply.substr(std::min(reply.find("\r\n\r\n"), reply.size() - 4) + 4);
    }

    Folder folder;
    SharpenRequest request;
    std::unique_ptr<ViewedScene> scene;
    std::unique_ptr<ViewService> service;
    std::unique_ptr<HttpServer> server;
};

TEST_F(ViewServiceTest, WhatIsWrongIsRefusedInWords) {
    const std::string manyBands(5000, '1');
    struct Row {
        std::string target, status, words, headers = "Host: localhost:8017";
    };
    const Row rows[] = {
        {"/tiles/0/0/0.png?layer=pan", "200", "image/png"},
        {"/tiles/1/1/1.jpg?bands=4,3,2&stretch=0", "200", "image/jpeg"},
        {"/tiles/0/0/0.jpg", "200", "immutable", "Host: [::1]"},
        {"/tiles/2/0/0.jpg", "404", "zooms 0 to 1"},
        {"/tiles/1/2/0.jpg", "404", "columns 0 to 1"},
        {"/tiles/0/0/0.gif", "400", "give .jpg or .png or .raw"},
        {"/tiles/0/0", "404", "/tiles/ZOOM/COLUMN/ROW.jpg"},
        {"/tiles/0/4294967296/0.jpg", "400", "is not a whole number"},
        {"/tiles/0/-1/0.jpg", "400", "is not a whole number"},
        {"/tiles/0/0/0.jpg?bands=5", "400", "there is no band 5"},
        {"/tiles/0/0/0.jpg?bands=1,1,2", "400", "twice"},
        {"/tiles/0/0/0.jpg?bands=" + manyBands, "400", "is not a whole number"},
        {"/tiles/0/0/0.jpg?method=kova&weights=1,2", "400", "weights"},
        {"/tiles/0/0/0.jpg?method=kova&weights=1,2,nan,4", "400", "is not a number"},
        {"/tiles/0/0/0.jpg?method=kova&mtf=0.3", "400", "takes neither mtf nor gains"},
        {"/tiles/0/0/0.jpg?gains=1:0,1:0", "400", "2 pairs of gains are given for 4"},
        {"/tiles/0/0/0.jpg?method=none", "400", "none"},
        {"/tiles/0/0/0.jpg?stretch=26", "400", "from 0 to 25"},
        {"/tiles/0/0/0.jpg?colour=red", "400", "there is no parameter 'colour'"},
        {"/tiles/0/0/0.jpg?stretch=1&stretch=2", "400", "twice"},
        {"/tiles/0/0/0.jpg?method=%zz", "400", "hexadecimal"},
        {"/sample.json?x=300&y=0", "400", "does not lie in the scene"},
        {"/sample.json?x=299", "400", "y is missing"},
        {"/window.tif?window=0,0,301,10", "400", "300 x 300"},
        {"/window.tif?window=10,0,10,10", "400", "beyond"},
        {"/command.json?window=1,2,3", "400", "four numbers"},
        {"/../pan.tif", "404", "there is nothing at"},
        {"/%2e%2e/pan.tif", "404", "there is nothing at"},
        {"/scene.json", "421", "not called 'other.example'", "Host: other.example"},
        {"/scene.json", "200", "most_zoom", "Host: own.example:1"},
        {"/scene.json", "403", "other origins", "Host: 127.0.0.1\r\nSec-Fetch-Site: cross-site"},
    };
    for (const auto& [target, status, words, headers] : rows) {
        SCOPED_TRACE(target.substr(0, 100));
        const bool isCached = words == "immutable";
        const std::string version = scene ? Body("/scene.json") : "";
        const std::string now =
            isCached ? target + "?v=" + version.substr(12, version.find('"', 12) - 12) : target;
        const std::string reply = Get(now, headers);
        EXPECT_EQ(reply.substr(9, 3), status);
        EXPECT_NE(reply.find(words), std::string::npos) << reply.substr(0, 1000);
        EXPECT_EQ(reply.find(folder / ""), std::string::npos) << "tells where files are";
    }
    EXPECT_EQ(Ask(server->GetPort(), "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 2\r\nConnection: "
                                     "close\r\n\r\nab")
                  .substr(9, 3),
              "405");
    const std::string tile = Get("/tiles/0/0/0.jpg");
    const std::size_t tag = tile.find("ETag: ") + 6;
    const std::string known = tile.substr(tag, tile.find("\r\n", tag) - tag);
    EXPECT_EQ(Get("/tiles/0/0/0.jpg", "Host: localhost\r\nIf-None-Match: " + known).substr(9, 3), "304");
}

/// A tile at full size has what the command writes there, for any look; so has a window as a file.
TEST_F(ViewServiceTest, FullSizeHasTheBytesOfTheCommand) {
    const auto check = [&](const std::string& query) {
        SCOPED_TRACE(query);
        const Outcome run = RunWell(request);
        const std::vector<unsigned> all = ReadAll(request.output);
        const std::size_t bands = run.report.bands;
        const std::string raw = Body("/tiles/1/1/0.raw?" + query);
        ASSERT_EQ(raw.size(), (panSize - 256) * 256 * bands * 2);
        std::size_t wrong = 0, at = 0;
        for (int row = 0; row < 256; ++row)
            for (int column = 256; column < panSize; ++column)
                for (std::size_t band = 0; band < bands; ++band, at += 2) {
                    unsigned short sample;
                    std::memcpy(&sample, raw.data() + at, 2);
                    const auto pixel = static_cast<std::size_t>(row * panSize + column);
                    wrong += sample != all[pixel * bands + band] ? 1 : 0;
                }
        EXPECT_EQ(wrong, 0u);
    };
    check("");
    request.method = "brovey";
    request.weights = {0.1, 0.2, 0.3, 0.4};
    request.bands = {4, 2};
    request.resampling = hostkit::Resampling::Bilinear;
    check("method=brovey&weights=0.1,0.2,0.3,0.4&bands=4,2&sampling=bilinear");
}

/// An infrared band is weighed or left out, as the look requires.
TEST_F(ViewServiceTest, AnInfraredBandDisturbsNoLook) {
    const std::string file = request.multispectral[0].file;
    request.multispectral = {{file, 1}, {file, 2}, {file, 3}};
    request.infrared = {file, 4};
    request.method = "kova";
    Serve();
    for (const char* look : {"", "?layer=upsampled", "?method=kova&weights=0.3,0.3,0.4", "?method=injection"})
        (void)Body("/tiles/0/0/0.png" + std::string(look));
}

/// Neither windows nor fits take resources that others need, and the command names where the scene came from.
TEST_F(ViewServiceTest, WindowsShareMemoryAndUnwantedFitsAreGivenUp) {
    request.product = "a b.zip";
    Serve();
    EXPECT_NE(Body("/command.json").find("pansharp sharpen 'a b.zip' -o window.tif"), std::string::npos);
    EXPECT_NE(Body("/command.json").find(" --plugin "), std::string::npos);
    MemoryBudget budget((panSize * panSize * 4 * 2 + 65536) * 3);
    const hostkit::PixelRect all{0, 0, panSize, panSize};
    const auto statusOf = [](const auto& call) {
        try {
            call();
        } catch (const BadRequest& refusal) {
            return refusal.status;
        }
        return 200u;
    };
    auto sent = MakeWindowFile(*scene, {}, all, budget);
    EXPECT_EQ(statusOf([&] { (void)MakeWindowFile(*scene, {}, all, budget); }), 503u);
    sent.reset();
    EXPECT_EQ(statusOf([&] { (void)MakeWindowFile(*scene, {}, all, budget); }), 200u);
    EXPECT_LT(MakeWindowFile(*scene, {}, {0, 0, 1, panSize}, budget)->size(), panSize * 8u + 65536u);
    for (const char* method : {"kova", "injection"}) {
        Look look;
        look.method = method;
        if (method[0] == 'i') look.transfer = 0.4;
        int asked = 0;
        look.isWanted = [&] { return ++asked < 3; };
        EXPECT_EQ(statusOf([&] { (void)scene->Settle(look); }), 503u);
        look.isWanted = {};
        EXPECT_EQ(statusOf([&] { (void)scene->Settle(look); }), 200u);
    }
}

/// Clients that come and go, send anything, nothing or half a request, do not stop it from answering; and it
/// can end while some are connected.
TEST_F(ViewServiceTest, SilentAndGoneClientsAreSurvived) {
    const std::string wanted[] = {
        "tiles/1/0/0.jpg?stretch=3", "tiles/0/0/0.png?method=kova",    "tiles/1/1/1.raw?method=injection",
        "window.tif?bands=3,1",      "sample.json?x=100&y=9",          "quality.json",
        "command.json?stretch=0",    "tiles/1/0/0.png?layer=upsampled"};
    std::vector<int> open;
    for (int client = 0; client < 200; ++client) {
        const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(server->GetPort());
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ASSERT_EQ(connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        const std::string text =
            client % 2 == 0 ? "GET /" + wanted[static_cast<std::size_t>(client) / 2 % std::size(wanted)] +
                                  " HTTP/1.1\r\nHost: localhost\r\n\r\n"
                            : "GET /tiles/";
        EXPECT_EQ(send(socket, text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
        if (client < 100)
            close(socket);
        else
            open.push_back(socket);
    }
    EXPECT_NE(Body("/scene.json").find("\"columns\":300"), std::string::npos);
    server.reset();
    for (const int socket : open)
        close(socket);
}

} // namespace
