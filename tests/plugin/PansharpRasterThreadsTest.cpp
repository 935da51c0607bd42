#include "Plugin.h"

#include <array>
#include <thread>

using namespace fakehost;

namespace {

/// The samples of the whole scene, read window by window.
std::vector<unsigned> ReadScene(const Properties& properties, std::uint32_t bits, std::uint32_t windowRows) {
    Session session(properties, bits);
    EXPECT_EQ(session.process->Init(), 1);
    std::vector<unsigned> all;
    for (std::uint32_t first = 0; first < 30; first += windowRows) {
        const auto part = session.Read({0, first, 40, std::min(30u, first + windowRows)});
        all.insert(all.end(), part.begin(), part.end());
        session.process->GetMetadata();
    }
    return all;
}

} // namespace

TEST(Threads, AnObjectEachGivesTheSameBytesForAnyWindows) {
    // The library is not unloaded on the way: the loader's lock is unknown to ThreadSanitizer.
    const Plugin held;
    Properties properties{{"Method", ""}, {"AdditionalBandID", ""}, {"generateMetadata", "true"}};
    for (int kind = 0; kind < 12; ++kind) {
        const std::uint32_t bits = kind % 2 == 0 ? 8 : 16;
        properties[0].second = std::array{"KOVA", "Brovey", "IHS"}[kind % 3];
        properties[1].second = kind < 6 ? "" : "ir";
        const auto whole = ReadScene(properties, bits, 30);
        ASSERT_EQ(whole.size(), 40u * 30 * 3);
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                for (const std::uint32_t rows : {1u, 7u, 13u, 30u})
                    EXPECT_TRUE(ReadScene(properties, bits, rows) == whole) << kind << " " << rows;
            });
    }
}
