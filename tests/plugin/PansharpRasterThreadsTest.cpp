#include "Plugin.h"

#include <array>
#include <gtest/gtest.h>
#include <thread>

using namespace fakehost;

namespace {

/// Checksum of the whole scene, read window by window.
std::uint64_t Checksum(const Properties& properties, std::uint32_t bits, std::uint32_t windowRows) {
    Session session(properties, bits);
    if (session.process->Init() == 0) return 0;
    std::uint64_t sum = 14695981039346656037u; // FNV-1a
    for (std::uint32_t first = 0; first < 30; first += windowRows) {
        const std::uint32_t end = std::min(30u, first + windowRows);
        if (session.SetWindow(0, first, 40, end) == 0) return 0;
        for (std::uint32_t row = first; row < end; ++row) {
            const unsigned char* bytes = session.process->GetRow(row);
            if (!bytes) return 0;
            for (std::uint32_t i = 0; i < 40 * 3 * bits / 8; ++i)
                sum = (sum ^ bytes[i]) * 1099511628211u;
        }
        session.process->GetMetadata();
    }
    return sum;
}

} // namespace

TEST(Threads, AnObjectEachGivesTheSameBytesForAnyWindows) {
    const Plugin
        held; // the library is not unloaded on the way: the loader's lock is unknown to ThreadSanitizer
    Properties properties{{"Method", ""}, {"AdditionalBandID", ""}, {"generateMetadata", "true"}};
    for (int kind = 0; kind < 12; ++kind) {
        const std::uint32_t bits = kind % 2 == 0 ? 8 : 16;
        properties[0].second = std::array{"KOVA", "Brovey", "IHS"}[kind % 3];
        properties[1].second = kind < 6 ? "" : "ir";
        const std::uint64_t whole = Checksum(properties, bits, 30);
        ASSERT_NE(whole, 0u);
        std::vector<std::uint64_t> sums(4);
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < sums.size(); ++i)
            threads.emplace_back([&, i] {
                for (const std::uint32_t rows : {1u, 7u, 13u, 30u}) {
                    sums[i] = Checksum(properties, bits, rows);
                    if (sums[i] != whole) return;
                }
            });
        for (std::thread& thread : threads)
            thread.join();
        for (const std::uint64_t sum : sums)
            EXPECT_EQ(sum, whole);
    }
}
