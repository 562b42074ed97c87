#include "framework/SampleRing.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <numeric>
#include <thread>
#include <vector>

namespace {

std::vector<float> Ramp(std::size_t n, float first) {
    std::vector<float> v(n);
    std::iota(v.begin(), v.end(), first);
    return v;
}

// Writes one block of two slots: slot 0 counts up from `first`, slot 1 is its negative.
std::size_t WriteBlock(SampleRing& ring, std::size_t frames, float first) {
    const std::vector<float> up = Ramp(frames, first);
    std::vector<float> down(frames);
    for (std::size_t i = 0; i < frames; ++i) {
        down[i] = -up[i];
    }
    const std::size_t n = ring.BeginBlock(frames);
    ring.Write(1, down.data()); // slots in any order
    ring.Write(0, up.data());
    ring.Commit();
    return n;
}

// Nothing is copied while no reader is attached, and what was queued before an
// attach is skipped; a block that does not fit is dropped whole and counted; the
// slots come out in step across the wrap of the storage.
TEST(SampleRing, CopiesOnlyForAnAttachedReaderAndDropsWholeBlocks) {
    SampleRing ring(2, 10); // rounded up to 16 frames
    ASSERT_EQ(ring.CapacityFrames(), 16u);
    EXPECT_EQ(WriteBlock(ring, 4, 0.f), 0u);
    EXPECT_EQ(ring.Available(), 0u);

    ASSERT_TRUE(ring.Attach());
    EXPECT_FALSE(ring.Attach()) << "a second reader must be refused";
    EXPECT_EQ(WriteBlock(ring, 12, 100.f), 12u);
    EXPECT_EQ(WriteBlock(ring, 5, 200.f), 0u) << "5 frames do not fit in the 4 left";
    EXPECT_EQ(ring.Dropped(), 5u);

    std::array<float, 16> a{}, b{};
    std::array<float*, 2> out{a.data(), b.data()};
    ASSERT_EQ(ring.Read(out, 10), 10u);
    EXPECT_EQ(a[0], 100.f);
    EXPECT_EQ(a[9], 109.f);
    EXPECT_EQ(b[9], -109.f);

    // This block wraps round the end of the storage (frames 12..19 of 16).
    EXPECT_EQ(WriteBlock(ring, 8, 300.f), 8u);
    std::array<float*, 2> onlySecond{nullptr, b.data()};
    ASSERT_EQ(ring.Read(onlySecond, 16), 10u);
    EXPECT_EQ(b[0], -110.f);
    EXPECT_EQ(b[1], -111.f);
    EXPECT_EQ(b[2], -300.f);
    EXPECT_EQ(b[9], -307.f);

    ring.Detach();
    EXPECT_EQ(WriteBlock(ring, 4, 400.f), 0u);
    ASSERT_TRUE(ring.Attach());
    EXPECT_EQ(ring.Available(), 0u);
}

// A real audio-like writer and an editor-like reader on two threads (also run
// under ThreadSanitizer): every frame read belongs to one block written whole,
// its two slots agree, frames come in order, and frames read plus frames dropped
// add up to frames written.
TEST(SampleRing, WriterAndReaderThreads) {
    constexpr std::uint32_t kTotalFrames = 1u << 18; // exact as floats
    SampleRing ring(2, 4096);
    ASSERT_TRUE(ring.Attach());
    std::atomic<bool> done{false};

    std::thread writer([&] {
        std::vector<float> up(512), down(512);
        std::uint32_t next = 0;
        std::uint32_t blockSize = 37;
        while (next < kTotalFrames) {
            const std::uint32_t n = std::min(blockSize, kTotalFrames - next);
            for (std::uint32_t i = 0; i < n; ++i) {
                up[i] = static_cast<float>(next + i);
                down[i] = -up[i];
            }
            if (ring.BeginBlock(n) == n) {
                ring.Write(0, up.data());
                ring.Write(1, down.data());
            }
            ring.Commit();
            next += n;
            blockSize = blockSize * 7 % 509 + 1;
            if (next % 8 == 0) {
                std::this_thread::yield();
            }
        }
        done.store(true, std::memory_order_release);
    });

    std::vector<float> a(1000), b(1000);
    std::array<float*, 2> out{a.data(), b.data()};
    std::uint64_t read = 0;
    float last = -1.f;
    bool ordered = true;
    bool inStep = true;
    for (;;) {
        const bool finished = done.load(std::memory_order_acquire);
        const std::size_t n = ring.Read(out, a.size());
        for (std::size_t i = 0; i < n; ++i) {
            ordered = ordered && a[i] > last;
            inStep = inStep && b[i] == -a[i];
            last = a[i];
        }
        read += n;
        if (finished && n == 0) {
            break;
        }
    }
    writer.join();
    EXPECT_TRUE(ordered);
    EXPECT_TRUE(inStep);
    EXPECT_GT(read, 0u);
    EXPECT_EQ(read + ring.Dropped(), kTotalFrames);
}

} // namespace
