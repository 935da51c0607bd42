#include "Plugin.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

using namespace fakehost;

namespace {

/// The samples of the whole scene, read window by window.
std::vector<unsigned> ReadScene(const Properties& properties, std::uint32_t bits, std::uint32_t windowRows) {
    ReadySession session(properties, bits);
    std::vector<unsigned> all;
    for (std::uint32_t first = 0; first < 30; first += windowRows) {
        const auto part = session.Read({0, first, 40, std::min(30u, first + windowRows)});
        all.insert(all.end(), part.begin(), part.end());
        session.process->GetMetadata();
    }
    return all;
}

/// Every method, depth and number of images, by 4 threads at a time, each with its own objects.
void ReadByThreads(const Plugin& plugin) {
    for (const PansharpMethod& method : plugin.Methods())
        for (const std::uint32_t bits : {8u, 16u})
            for (const char* additional : {"", "ir"}) {
                const Properties properties{{"Method", method.keyword},
                                            {"AdditionalBandID", additional},
                                            {"generateMetadata", "true"}};
                const auto whole = ReadScene(properties, bits, 30);
                ASSERT_EQ(whole.size(), 40u * 30 * 3);
                std::vector<std::jthread> threads;
                for (int i = 0; i < 4; ++i)
                    threads.emplace_back([&] {
                        for (const std::uint32_t rows : {1u, 7u, 13u, 30u})
                            EXPECT_TRUE(ReadScene(properties, bits, rows) == whole)
                                << method.keyword << additional << bits << " " << rows;
                    });
            }
}

} // namespace

// Once, or repeatedly for the number of seconds in the environment variable PANSHARP_THREADS_SECONDS.
TEST(Threads, AnObjectEachGivesTheSameBytesForAnyWindows) {
    // The library stays loaded: ThreadSanitizer does not know the loader's lock.
    const Plugin held;
    const char* seconds = std::getenv("PANSHARP_THREADS_SECONDS");
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::seconds(seconds ? std::atoi(seconds) : 0);
    int rounds = 0;
    do {
        ReadByThreads(held);
        ++rounds;
    } while (!HasFailure() && std::chrono::steady_clock::now() < end);
    RecordProperty("rounds", rounds);
    if (seconds) std::printf("%d rounds of all methods\n", rounds);
}
