#include "hostkit/LeasePool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

namespace {

struct Counted {
    explicit Counted(std::atomic<int>& alive) : count(alive) { ++count; }
    ~Counted() { --count; }
    std::atomic<int>& count;
    int users = 0; // a race for ThreadSanitizer, if two threads ever have it
};

// Eight threads, three objects of two kinds: never more are lent, no object is shared, nothing is lost when
// one cannot be made, and no more objects are kept than may be lent.
TEST(LeasePool, LendsEachObjectToOneThreadAtATime) {
    std::atomic<int> alive = 0, out = 0, most = 0, shared = 0;
    {
        hostkit::LeasePool<Counted, int> pool(3);
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 8; ++thread)
            threads.emplace_back([&, thread] {
                for (int turn = 0; turn < 500; ++turn) {
                    try {
                        auto lease = pool.Take((thread + turn) % 2, [&] {
                            if (turn % 50 == 49) throw std::runtime_error("none to be had");
                            return turn % 50 == 48 ? nullptr : std::make_unique<Counted>(alive);
                        });
                        if (!lease) continue;
                        const int now = ++out;
                        for (int before = most; before < now && !most.compare_exchange_weak(before, now);)
                            continue;
                        shared += lease->users++ != 0;
                        --lease->users;
                        --out;
                    } catch (const std::runtime_error&) {
                    }
                }
            });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(shared, 0);
        EXPECT_LE(most, 3);
        EXPECT_LE(alive, 3);
        EXPECT_GE(alive, 1);
    }
    EXPECT_EQ(alive, 0);
}

} // namespace
