// How the plug-in deals with memory: when there is none, and over a long life.
#include "Allocations.h"
#include "Plugin.h"

#include <array>
#include <filesystem>

using namespace fakehost;
using allocations::Fault;

namespace {

#ifdef NDEBUG
constexpr int manyWindows = 100'000;
constexpr int manyObjects = 10'000;
#else
constexpr int manyWindows = 10'000;
constexpr int manyObjects = 1'000;
#endif

/// The rows 0 and 1; empty when they could not be read.
using Rows = std::array<std::vector<unsigned char>, 2>;

/// Calls every operation of a host, whatever the others return.
void UseEveryOperation(const Session& session, const Plugin& plugin, const NameValueMap& map, Rows& rows) {
    IRasterProcess* second = plugin.Create(&map);
    plugin.Destroy(&second);
    IRasterProcess& process = *session.process;
    process.Init();
    if (process.SetWindow(0, 0, 40, 2) != 0)
        for (std::uint32_t row = 0; row < 4; ++row)
            if (const unsigned char* samples = process.GetRow(row))
                rows.at(row).assign(samples, samples + 40 * 2 * process.GetRasterInfo()->bitsPerBand / 8);
    process.GetMetadata();
    process.ToString();
    process.SetProperties(&map);
    process.GetGeoTransformer();
    unsigned int count = 0;
    process.GetColorMap(count);
}

std::size_t OpenFiles() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

void UseWindow(Session& session, std::uint32_t first) {
    ASSERT_EQ(session.SetWindow({0, first, 40, first + 1}), 1);
    ASSERT_NE(session.process->GetRow(first), nullptr);
    ASSERT_EQ(session.process->GetRow(first + 1), nullptr);
    session.log = {};
    session.workspace.obtained = {};
    session.workspace.initialized = {};
}

} // namespace

TEST(Memory, NoAllocationThatFailsLeavesASlotAsAnException) {
    const Plugin plugin;
    NameValueMap map;
    map["Method"] = "a text that is too long to need no memory of its own";
    Rows rows;
    for (auto& row : rows) // so that the test itself allocates nothing
        row.reserve(1'000);
    long failures = 0;
    for (const PansharpMethod& described : plugin.Methods())
        for (const char* additional : {"", "ir"})
            for (const Fault::Kind kind : {Fault::Kind::Once, Fault::Kind::FromThereOn}) {
                const std::string method = described.keyword;
                const Properties properties{{"Method", method},
                                            {"AdditionalBandID", additional},
                                            {"outputNBands", "2"},
                                            {"generateMetadata", "true"}};
                const auto use = [&](long before) {
                    Session session(properties, additional[0] ? 16 : 8);
                    for (auto& row : rows)
                        row.clear();
                    bool reached = false;
                    {
                        const Fault fault(before, kind);
                        UseEveryOperation(session, plugin, map, rows);
                        reached = Fault::WasReached();
                        if (kind == Fault::Kind::FromThereOn) session.Destroy();
                    }
                    if (kind == Fault::Kind::Once) { // the object is still intact
                        session.process->SetProperty("Method", method);
                        EXPECT_EQ(session.process->Init(), 1);
                        EXPECT_EQ(session.SetWindow({0, 0, 40, 2}), 1);
                        EXPECT_NE(session.process->GetRow(1), nullptr);
                    }
                    return reached;
                };
                use(1'000'000);
                const Rows expected = rows;
                ASSERT_FALSE(expected[1].empty());
                const long before = allocations::Live();
                for (long n = 0; use(n); ++n, ++failures) {
                    for (std::size_t row = 0; row < rows.size(); ++row)
                        ASSERT_TRUE(rows[row].empty() || rows[row] == expected[row]) << method << n;
                    ASSERT_EQ(allocations::Live(), before) << method << ": leaked after allocation " << n;
                }
            }
    testing::Test::RecordProperty("failures", std::to_string(failures)); // in the report of --gtest_output
    EXPECT_GT(failures, 1000) << "the faults did not reach the plug-in";
}

TEST(Memory, StaysFlatOverManyWindows) {
    ReadySession session({{"AdditionalBandID", "ir"}, {"generateMetadata", "true"}});
    for (std::uint32_t i = 0; i < 29; ++i)
        UseWindow(session, i);
    const long before = allocations::Live();
    const std::size_t filesBefore = OpenFiles();
    for (std::uint32_t i = 0; i < manyWindows; ++i)
        ASSERT_NO_FATAL_FAILURE(UseWindow(session, i % 29));
    EXPECT_EQ(session.workspace.Outstanding(), 2u);
    EXPECT_LE(allocations::Live(), before + 2 * 1000) << "more than the bounded status";
    EXPECT_EQ(OpenFiles(), filesBefore);
}

TEST(Memory, StaysFlatOverManyObjects) {
    const Plugin held;
    const auto methods = held.Methods();
    const auto use = [](const char* method) {
        ReadySession session({{"Method", method}}, 16);
        ASSERT_NO_FATAL_FAILURE(UseWindow(session, 3));
    };
    use(methods.back().keyword);
    const long before = allocations::Live();
    const std::size_t filesBefore = OpenFiles();
    for (int i = 0; i < manyObjects; ++i)
        ASSERT_NO_FATAL_FAILURE(use(methods[static_cast<std::size_t>(i) % methods.size()].keyword));
    EXPECT_EQ(allocations::Live(), before);
    EXPECT_EQ(OpenFiles(), filesBefore);
}
