#include "framework/LockFreeQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

namespace {

struct Command {
    std::uint32_t kind = 0;
    std::uint32_t id = 0;
};

// First in, first out; a full queue refuses without overwriting.
TEST(LockFreeQueue, FifoAndFullRefusesWithoutOverwriting) {
    LockFreeQueue<Command, 4> q;
    EXPECT_TRUE(q.EmptyApprox());
    for (std::uint32_t i = 0; i < 4; ++i) {
        ASSERT_TRUE(q.TryPush({0, i}));
    }
    EXPECT_EQ(q.SizeApprox(), 4u);
    EXPECT_FALSE(q.TryPush({0, 99}));
    Command c;
    ASSERT_TRUE(q.TryPop(c));
    EXPECT_EQ(c.id, 0u);
    EXPECT_TRUE(q.TryPush({0, 4})); // room again, wraps around
    for (std::uint32_t i = 1; i <= 4; ++i) {
        ASSERT_TRUE(q.TryPop(c));
        EXPECT_EQ(c.id, i);
    }
    EXPECT_FALSE(q.TryPop(c));
    EXPECT_TRUE(q.EmptyApprox());
}

// Several producers, one consumer: every item arrives exactly once and each
// producer's items arrive in its own order.
TEST(LockFreeQueue, MultiProducerStress) {
    constexpr std::uint32_t kProducers = 4;
    constexpr std::uint32_t kPerProducer = 50000;
    LockFreeQueue<Command, 256> q;
    std::atomic<bool> go{false};
    std::vector<std::thread> producers;
    for (std::uint32_t p = 0; p < kProducers; ++p) {
        producers.emplace_back([&, p] {
            while (!go.load(std::memory_order_acquire)) {
                std::this_thread::yield();
            }
            for (std::uint32_t i = 0; i < kPerProducer; ++i) {
                while (!q.TryPush({p, i})) {
                    std::this_thread::yield();
                }
            }
        });
    }
    std::vector<std::uint32_t> next(kProducers, 0);
    std::uint64_t received = 0;
    bool ordered = true;
    go.store(true, std::memory_order_release);
    Command c;
    while (received < std::uint64_t(kProducers) * kPerProducer) {
        if (q.TryPop(c)) {
            ordered = ordered && c.kind < kProducers && c.id == next[c.kind];
            ++next[c.kind];
            ++received;
        } else {
            std::this_thread::yield();
        }
    }
    for (auto& t : producers) {
        t.join();
    }
    EXPECT_TRUE(ordered);
    EXPECT_FALSE(q.TryPop(c));
    for (std::uint32_t p = 0; p < kProducers; ++p) {
        EXPECT_EQ(next[p], kPerProducer);
    }
}

} // namespace
