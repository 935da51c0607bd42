#include "cli/ViewCommand.h"

#include "cli/FitToPlugin.h"
#include "cli/Platform.h"
#include "cli/QualityJson.h"
#include "cli/StatusText.h"
#include "rasterhost/fusing/RunPlan.h"
#include "rasterhost/requests/CacheLimit.h"
#include "rasterhost/scene/BandChoice.h"
#include "view/HttpServer.h"
#include "view/ViewService.h"

#include <chrono>
#include <iostream>
#include <stdexcept>
#include <thread>

namespace cli {

using KOVA::Tessara::Fundament::Status;

namespace {

constexpr std::uint16_t usualPort = 8017;
constexpr std::int64_t blockCache = std::int64_t{64} << 20; // of the inputs

bool IsOfThisMachine(const std::string& address) { return address.starts_with("127.") || address == "::1"; }

/// The table of "pansharp compare --json". Uses one thread, so that tiles are still served.
view::MakeQuality QualityOf(const Arguments& arguments) {
    const rasterhost::PairRequest& pair = arguments;
    const rasterhost::RunOptions& run = arguments;
    const rasterhost::BlurOptions& blur = arguments;
    rasterhost::CompareRequest request{pair, run, blur, {}};
    request.threads = 1;
    return [request](const std::function<bool(double)>& progress) mutable {
        request.progress = progress;
        rasterhost::CompareReport report;
        Status status;
        if (!rasterhost::Compare(request, report, status))
            throw std::runtime_error(status.GetCount() > 0 ? status.GetItem(0).message : "no table is made");
        return CompareJson(request, report, Done, status);
    };
}

/// Listens at the usual port; if that is taken and no other was requested, at any free port.
std::unique_ptr<view::HttpServer> Start(const Arguments& arguments, const view::HttpHandler& handler,
                                        std::string& reason) {
    view::HttpOptions options;
    options.address = arguments.listen;
    options.port = arguments.port.value_or(usualPort);
    options.threads = static_cast<std::size_t>(rasterhost::ChooseThreads(arguments));
    auto server = view::HttpServer::Start(options, handler, reason);
    if (server || arguments.port) return server;
    options.port = 0;
    return view::HttpServer::Start(options, handler, reason);
}

ExitCode Serve(const Arguments& arguments, view::ViewedScene& scene) {
    view::ViewService service(scene, arguments.listen, QualityOf(arguments));
    std::string reason;
    const auto server = Start(
        arguments, [&service](const view::HttpRequest& request) { return service.Answer(request); }, reason);
    if (!server) {
        std::cerr << FormatError(reason);
        return WorkFailed;
    }
    const bool isSix = arguments.listen.find(':') != std::string::npos;
    const std::string address = "http://" + (isSix ? "[" + arguments.listen + "]" : arguments.listen) + ":" +
                                std::to_string(server->GetPort()) + "/";
    std::cout << address << std::endl;
    if (!service.HasPage())
        std::cerr << FormatWarning(
            "tiles are served, but the page is not built: run scripts/setup --view and "
            "build again");
    if (!IsOfThisMachine(arguments.listen))
        std::cerr << FormatWarning("--listen " + arguments.listen +
                                   ": everybody who reaches this address sees the scene, unencrypted and "
                                   "without a password");
    std::cerr << "Ctrl-C ends it.\n";
    if (arguments.opensBrowser && !platform::OpenInBrowser(address))
        std::cerr << FormatWarning("--open: no browser could be started; open " + address + " yourself");
    while (!platform::WasInterrupted())
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    return Done;
}

} // namespace

ExitCode RunView(Arguments arguments) {
    Status status;
    if (!view::HasHttpServer()) {
        std::string reason;
        (void)view::HttpServer::Start({}, {}, reason);
        std::cerr << FormatError(reason);
        return WorkFailed;
    }
    const auto plugin = hostkit::PluginLibrary::FindAndLoad(arguments.plugin, status);
    if (!plugin) {
        std::cerr << FormatErrors(status);
        return WorkFailed;
    }
    for (const std::string& warning : FitToPlugin(plugin->GetDescription(), arguments))
        std::cerr << FormatWarning(warning);
    if (!rasterhost::ResolveBands(arguments, status)) {
        std::cerr << FormatErrors(status);
        return WorkFailed;
    }
    const auto warn = [](const std::string& text) { std::cerr << FormatWarning(text); };
    platform::CatchInterrupts();
    const rasterhost::CacheLimit cache(blockCache);
    arguments.progress = [](double) { return !platform::WasInterrupted(); };
    const auto threads = static_cast<std::size_t>(rasterhost::ChooseThreads(arguments));
    const auto scene = view::ViewedScene::Open(arguments, arguments.scene ? &*arguments.scene : nullptr,
                                               threads, warn, status);
    if (!scene) {
        if (platform::WasInterrupted()) return Interrupted;
        std::cerr << FormatErrors(status);
        return WorkFailed;
    }
    return Serve(arguments, *scene);
}

} // namespace cli
