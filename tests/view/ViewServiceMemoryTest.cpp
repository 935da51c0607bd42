// Memory refused in the middle of operations of the host wing, through every door.
#include "view/ViewService.h"

#include "capi/pansharp.h"
#include "cli/BatchRun.h"
#include "rasterhost/assessing/Assess.h"
#include "rasterhost/assessing/Compare.h"
#include "rasterhost/assessing/Preflight.h"
#include "rasterhost/serving/RecordedScene.h"
#include "rasterhost/serving/SceneFile.h"

#include "../plugin/Allocations.h"
#include "SceneFiles.h"

#include <cpl_vsi.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <link.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <functional>
#include <new>

namespace {

using namespace testfiles;
using allocations::Fault;
using rasterhost::Status;

/// The addresses of code: this project's, and the standard library's, which allocates for its callers.
struct Places {
    struct Range {
        std::uintptr_t begin, end;
    };
    std::vector<Range> own, standard;

    [[nodiscard]] static bool Has(const std::vector<Range>& ranges, const void* place) {
        const auto at = reinterpret_cast<std::uintptr_t>(place);
        return std::any_of(ranges.begin(), ranges.end(),
                           [at](const Range& range) { return at >= range.begin && at < range.end; });
    }
    static int Add(dl_phdr_info* module, std::size_t, void* places) {
        const std::string_view name = module->dlpi_name;
        const bool isOwn = name.empty() || name.ends_with("Pansharp.process") ||
                           name.ends_with("gdal_PANSHARP.so") ||
                           name.find("libpansharp.so") != std::string_view::npos;
        if (!isOwn && name.find("libstdc++") == std::string_view::npos) return 0;
        auto& ranges = isOwn ? static_cast<Places*>(places)->own : static_cast<Places*>(places)->standard;
        for (int part = 0; part < module->dlpi_phnum; ++part)
            if (const auto& header = module->dlpi_phdr[part]; header.p_type == PT_LOAD)
                ranges.push_back({module->dlpi_addr + header.p_vaddr,
                                  module->dlpi_addr + header.p_vaddr + header.p_memsz});
        return 0;
    }
};

Places places;

/// GCC's std::filesystem ends the program when memory is refused, since some of its functions promise not to
/// throw.
bool IsOfFileSystem(const void* place) {
    static std::array<std::pair<const void*, bool>, 1024> known; // looking up a name takes long
    for (auto& [address, answer] : known) {
        if (address == place) return answer;
        if (address) continue;
        Dl_info found{};
        address = place;
        return answer = dladdr(place, &found) != 0 && found.dli_sname &&
                        std::strstr(found.dli_sname, "filesystem") != nullptr;
    }
    return true;
}

/// GDAL is responsible for its own allocations.
bool IsOwn(const void* caller) {
    if (!Places::Has(places.standard, caller)) return Places::Has(places.own, caller);
    const void* frames[16];
    const int count = backtrace(const_cast<void**>(frames), 16);
    const void** const end = frames + count;
    for (const void** at = std::find(frames, end, caller); at != end; ++at)
        if (!Places::Has(places.standard, *at))
            return Places::Has(places.own, *at) && !IsOfFileSystem(at[-1]);
    return false;
}

/// A call in which one allocation fails. True with its result, or false with a reason in the status.
class Doors {
public:
    Doors() {
        setenv("GDAL_DRIVER_PATH", PANSHARP_DRIVER_FOLDER, 1);
        request.plugin = PANSHARP_PLUGIN_FILE;
        const auto value = [](int c, int r, int b) { return (c * 37 + r * 91 + b * 53) % 200 + 1; };
        request.pan.file = folder.Write("pan.tif", {160, 128, 1, GDT_Byte, Grid(10.0), "EPSG:32630"}, value);
        request.multispectral = {
            {folder.Write("ms.tif", {40, 32, 3, GDT_Byte, Grid(40.0), "EPSG:32630"}, value), {}}};
        request.output = folder / "scene.pansharp";
        request.threads = 1; // faults affect only this thread
        rasterhost::SharpenReport report;
        rasterhost::SceneRecord record;
        Status status;
        if (!rasterhost::RecordScene(request, record, report, status) ||
            !rasterhost::WriteSceneFile(
                record, request, [](const std::string&) {}, status))
            throw std::runtime_error(status.ToText());
        request.output = folder / "fused.tif";
        request.overwrite = true;
        made.file = folder.Write("made.tif", {160, 128, 3, GDT_Byte, Grid(10.0), "EPSG:32630"}, value);
        std::string reason;
        server = view::HttpServer::Start(
            {}, [this](const view::HttpRequest& asked) { return Serve(asked.target); }, reason);
        if (!server) throw std::runtime_error(reason);
    }

    std::string Sharpen(long before) {
        rasterhost::SharpenReport report;
        return Try(before, [&](Status& status) { return rasterhost::Sharpen(request, report, status); })
                   ? Text(ReadAll(request.output))
                   : "";
    }
    std::string Network(long before) {
        rasterhost::SharpenRequest asked = request;
        for (std::string* file : {&asked.pan.file, &asked.multispectral[0].file})
            *file = "http://127.0.0.1:" + std::to_string(server->GetPort()) + file->substr(file->rfind('/'));
        VSICurlClearCache();
        rasterhost::SharpenReport report;
        return Try(before, [&](Status& status) { return rasterhost::Sharpen(asked, report, status); })
                   ? Text(ReadAll(asked.output))
                   : "";
    }
    std::string Batch(long before) {
        cli::BatchScene scene;
        scene.files = {request.pan.file, request.multispectral[0].file};
        scene.output = "batch.tif";
        scene.options = {{"--plugin", {request.plugin}}, {"--threads", {"1"}}, {"--overwrite", {}}};
        cli::BatchRun how;
        how.folder = folder / "made";
        const auto make = [&](Status& status) {
            const auto line = cli::RunBatchScene(scene, how, {}, status);
            return line && line->value("status", "") == "done";
        };
        return Try(before, make) ? Text(ReadAll(how.folder + "/batch.tif")) : "";
    }
    std::string Arrays(long before) {
        std::vector<unsigned char> pan(48 * 40), bands(12 * 10 * 3), fused(48 * 40 * 3);
        for (std::size_t i = 0; i < pan.size(); ++i)
            pan[i] = static_cast<unsigned char>(i * 37 % 200 + 1);
        for (std::size_t i = 0; i < bands.size(); ++i)
            bands[i] = static_cast<unsigned char>(i * 53 % 200 + 1);
        pansharp_job job;
        pansharp_job_init(&job, sizeof job);
        job.bits_per_sample = 8;
        job.pan = {pan.data(), 48, 40, 1, 0, 0, 0, 0.0, 0.0, 0.0, 0.0};
        job.multispectral = {bands.data(), 12, 10, 3, 0, 0, 0, 0.0, 0.0, 0.0, 0.0};
        job.output.samples = fused.data();
        job.threads = 1;
        std::string error(300, '\0');
        const auto fuse = [&](Status&) {
            const std::unique_ptr<pansharp, decltype(&pansharp_close)> library(
                pansharp_open(PANSHARP_PLUGIN_FILE, error.data(), error.size()), pansharp_close);
            return library && pansharp_fuse(library.get(), &job, error.data(), error.size()) == PANSHARP_OK;
        };
        return Try(before, fuse, [&] { return error.c_str(); }) ? std::string(fused.begin(), fused.end())
                                                                : "";
    }
    std::string Inform(long before) {
        rasterhost::PreflightReport report;
        return Try(before, [&](Status& status) { return rasterhost::Preflight(request, report, status); })
                   ? std::to_string(report.memoryBytes)
                   : "";
    }
    std::string Compare(long before) {
        const rasterhost::CompareRequest asked{request, request, {}, {}};
        rasterhost::CompareReport report;
        return Try(before, [&](Status& status) { return rasterhost::Compare(asked, report, status); })
                   ? std::to_string(report.entries.size())
                   : "";
    }
    std::string Assess(long before) {
        rasterhost::AssessRequest asked;
        static_cast<rasterhost::PairRequest&>(asked) = request;
        asked.fused = {made};
        rasterhost::AssessReport report;
        return Try(before, [&](Status& status) { return rasterhost::Assess(asked, report, status); })
                   ? std::to_string(report.pair.size())
                   : "";
    }
    std::string Open(long before) {
        const std::string file = folder / "scene.pansharp";
        std::vector<unsigned> samples(std::size_t{40} * 30 * 3);
        const auto read = [&](Status&) {
            const GDALDatasetUniquePtr scene(GDALDataset::Open(file.c_str(), GDAL_OF_RASTER));
            return scene && scene->RasterIO(GF_Read, 0, 0, 160, 128, samples.data(), 40, 30, GDT_UInt32, 3,
                                            nullptr, 0, 0, 0, nullptr) == CE_None;
        };
        CPLPushErrorHandler(CPLQuietErrorHandler);
        const bool isRead = Try(before, read, CPLGetLastErrorMsg);
        CPLPopErrorHandler();
        return isRead ? Text(samples) : "";
    }
    std::string View(long before) {
        std::string all;
        const char* const targets[] = {"/tiles/0/0/0.png?method=injection",
                                       "/tiles/0/0/0.raw?method=kova",
                                       "/window.tif",
                                       "/sample.json?x=9&y=9",
                                       "/command.json",
                                       "/scene.json"};
        view::HttpReply reply;
        std::unique_ptr<view::ViewedScene> scene;
        std::unique_ptr<view::ViewService> service;
        const auto answer = [&](const char* target) {
            view::HttpRequest asked;
            asked.target = target;
            asked.host = "localhost";
            reply = service->Answer(asked);
            return reply.status == 200;
        };
        const auto ask = [&](Status& reasons) {
            scene = view::ViewedScene::Open(
                request, nullptr, 1, [](const std::string&) {}, reasons);
            if (!scene) return false;
            service = std::make_unique<view::ViewService>(*scene, "localhost",
                                                          [](const auto&) { return std::string(); });
            for (const char* target : targets) {
                if (!answer(target)) return false;
                if (target[1] == 't' || target[1] == 'w') all += *reply.body;
            }
            return true;
        };
        return Try(
                   before, ask, [&] { return reply.body ? reply.body->c_str() : ""; }, true)
                   ? all
                   : "";
    }

private:
    /// The files as a server delivers them that sends only whole files.
    [[nodiscard]] view::HttpReply Serve(const std::string& target) const {
        view::HttpReply reply;
        reply.headers = {{"Connection", "close"}};
        std::ifstream file(folder / target.substr(1), std::ios::binary);
        if (!file) reply.status = 404;
        reply.body = std::make_shared<std::string>(std::istreambuf_iterator<char>(file),
                                                   std::istreambuf_iterator<char>());
        return reply;
    }
    static std::string Text(const std::vector<unsigned>& samples) {
        std::string text;
        for (const unsigned sample : samples)
            text += static_cast<char>(sample);
        return text;
    }
    /// A door must not throw, except to a caller that turns the exception into a refusal.
    template <class Call>
    static bool Try(long before, const Call& call, const std::function<const char*()>& reason = {},
                    bool mayThrow = false) {
        Status status;
        bool isDone = false, hasThrown = false;
        try {
            const Fault fault(before, Fault::Kind::Once);
            isDone = call(status);
        } catch (const std::bad_alloc&) {
            hasThrown = true;
        }
        EXPECT_TRUE(mayThrow || !hasThrown) << "an exception left it";
        EXPECT_TRUE(isDone || hasThrown || !Fault::WasReached() || status.GetCount() > 0 ||
                    (reason && *reason() != '\0'))
            << "no reason";
        return isDone;
    }

    Folder folder;
    rasterhost::SharpenRequest request;
    rasterhost::InputBand made;
    std::unique_ptr<view::HttpServer> server;
};

constexpr long none = 1'000'000'000;

enum class End { Done, NotReached, Failed };

/// A fault in a separate process, which it may not end.
template <class Call>
End InChild(const Call& call) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const End end = call();
        std::fflush(nullptr);
        _exit(static_cast<int>(testing::Test::HasFailure() ? End::Failed : end));
    }
    int state = 0;
    EXPECT_EQ(waitpid(child, &state, 0), child);
    return WIFEXITED(state) ? static_cast<End>(WEXITSTATUS(state)) : End::Failed;
}

struct Door {
    const char* name;
    std::string (Doors::*call)(long);
    friend void PrintTo(const Door& door, std::ostream* out) { *out << door.name; }
};
class Memory : public testing::TestWithParam<Door> {};

TEST_P(Memory, NoAllocationThatFailsLeavesADoorAsAnException) {
    Doors doors;
    const char* every = std::getenv("PANSHARP_FAULTS_EVERY"); // 1 for all, which takes an hour
    const char* from = std::getenv("PANSHARP_FAULTS_FROM");   // the first one, to go on with a part of them
    const long stride = every ? std::max(std::atol(every), 1L) : 499;
    const auto door = GetParam().call;
    const std::string expected = (doors.*door)(none);
    ASSERT_FALSE(expected.empty());
    dl_iterate_phdr(&Places::Add, &places);
    allocations::FailOnlyFor(&IsOwn);
    long here = 0;
    for (long before = from ? std::atol(from) : 0;; before += stride, ++here) {
        const End end = InChild([&] {
            const std::string found = (doors.*door)(before);
            const bool wasReached = Fault::WasReached();
            EXPECT_TRUE(found.empty() || found == expected) << "allocation " << before;
            if (here % 4 == 0) {
                EXPECT_EQ((doors.*door)(none), expected) << "it has lost something";
            }
            return wasReached ? End::Done : End::NotReached;
        });
        ASSERT_NE(end, End::Failed) << "allocation " << before;
        if (end == End::NotReached) break;
    }
    EXPECT_GT(here, 2) << "the faults did not reach it";
    testing::Test::RecordProperty(GetParam().name, std::to_string(here));
}

INSTANTIATE_TEST_SUITE_P(Of, Memory,
                         testing::Values(Door{"sharpen", &Doors::Sharpen}, Door{"info", &Doors::Inform},
                                         Door{"compare", &Doors::Compare}, Door{"assess", &Doors::Assess},
                                         Door{"open", &Doors::Open}, Door{"view", &Doors::View},
                                         Door{"arrays", &Doors::Arrays}, Door{"batch", &Doors::Batch},
                                         Door{"network", &Doors::Network}),
                         [](const auto& door) { return std::string(door.param.name); });

} // namespace
