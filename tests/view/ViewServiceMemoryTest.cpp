// Memory that is refused in the middle of what the host wing is asked for, by every door to it.
#include "view/ViewService.h"

#include "rasterhost/assessing/Compare.h"
#include "rasterhost/assessing/Preflight.h"
#include "rasterhost/serving/RecordedScene.h"
#include "rasterhost/serving/SceneFile.h"

#include "../plugin/Allocations.h"
#include "SceneFiles.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <link.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <new>

namespace {

using namespace testfiles;
using allocations::Fault;
using rasterhost::Status;

/// Where code lies: this project's, and the standard library's, which allocates for whom it is called by.
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
        const bool isOwn =
            name.empty() || name.ends_with("Pansharp.process") || name.ends_with("gdal_PANSHARP.so");
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

/// std::filesystem of GCC ends the program where memory is refused to it: it promises to throw nothing.
bool IsOfFileSystem(const void* place) {
    static std::array<std::pair<const void*, bool>, 1024> known; // to look for a name takes long
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

/// GDAL's own allocations are GDAL's own to answer for.
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

/// A call that one allocation fails in. True with what it gave, or false with a reason in the status.
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
        request.threads = 1; // a fault is this thread's
        rasterhost::SharpenReport report;
        rasterhost::SceneRecord record;
        Status status;
        if (!rasterhost::RecordScene(request, record, report, status) ||
            !rasterhost::WriteSceneFile(
                record, request, [](const std::string&) {}, status))
            throw std::runtime_error(status.ToText());
        request.output = folder / "fused.tif";
        request.overwrite = true;
    }

    std::string Sharpen(long before) {
        rasterhost::SharpenReport report;
        return Try(before, [&](Status& status) { return rasterhost::Sharpen(request, report, status); })
                   ? Text(ReadAll(request.output))
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
    static std::string Text(const std::vector<unsigned>& samples) {
        std::string text;
        for (const unsigned sample : samples)
            text += static_cast<char>(sample);
        return text;
    }
    /// A door may not throw, except for one whose caller makes a refusal of it.
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
};

TEST(Memory, NoAllocationThatFailsLeavesADoorAsAnException) {
    Doors doors;
    // All of them take minutes: PANSHARP_FAULTS_EVERY=1.
    const char* every = std::getenv("PANSHARP_FAULTS_EVERY");
    const long stride = every ? std::max(std::atol(every), 1L) : 499;
    constexpr long none = 1'000'000'000;
    long faults = 0;
    for (const auto& [name, door] : {std::pair("sharpen", &Doors::Sharpen), std::pair("info", &Doors::Inform),
                                     std::pair("compare", &Doors::Compare), std::pair("open", &Doors::Open),
                                     std::pair("view", &Doors::View)}) {
        SCOPED_TRACE(name);
        const std::string expected = (doors.*door)(none);
        ASSERT_FALSE(expected.empty());
        places = {};
        dl_iterate_phdr(&Places::Add, &places);
        allocations::FailOnlyFor(&IsOwn);
        long here = 0;
        for (long before = 0;; before += stride, ++here) {
            const std::string found = (doors.*door)(before);
            if (!Fault::WasReached()) break;
            ASSERT_TRUE(found.empty() || found == expected) << "allocation " << before;
        }
        EXPECT_EQ((doors.*door)(none), expected) << "it has lost something by the faults";
        EXPECT_GT(here, 2) << "the faults did not reach it";
        testing::Test::RecordProperty(name, std::to_string(here));
        faults += here;
    }
    testing::Test::RecordProperty("faults", std::to_string(faults));
}

} // namespace
