#pragma once

// SampleRing: hands blocks of samples from the audio thread to one reader (the
// editor's spectrum analyser) without locks, waits or allocation on either side
// after construction. A frame has a fixed number of slots (for example the input
// and output of each channel); every slot has its own run of samples, so a block
// goes in as one copy per slot.
//
// The writer only copies while a reader is attached: an instance whose editor is
// closed pays one relaxed load per block. When the reader falls behind, whole
// blocks are dropped (counted), never half of one and never a wait.
//
// Writer (the audio thread), per block:
//     const std::size_t n = ring.BeginBlock(frames); // 0: detached or no room
//     ring.Write(slot, samples);                      // each slot, any order
//     ring.Commit();
// Reader (one thread at a time): Attach, Read as often as it likes, Detach.

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

class SampleRing {
public:
    // capacityFrames is rounded up to a power of two.
    SampleRing(std::size_t slots, std::size_t capacityFrames)
        : slotCount(std::max<std::size_t>(slots, 1)),
          capacity(std::bit_ceil(std::max<std::size_t>(capacityFrames, 2))), mask(capacity - 1),
          samples(slotCount * capacity, 0.f) {}
    SampleRing(const SampleRing&) = delete;
    SampleRing& operator=(const SampleRing&) = delete;

    std::size_t Slots() const { return slotCount; }
    std::size_t CapacityFrames() const { return capacity; }

    // ----- reader
    // Starts copying; what was queued before is skipped. False while another
    // reader is attached.
    bool Attach() {
        bool expected = false;
        if (!attached.compare_exchange_strong(expected, true, std::memory_order_acq_rel)) {
            return false;
        }
        readIndex.store(writeIndex.load(std::memory_order_acquire), std::memory_order_release);
        return true;
    }
    void Detach() { attached.store(false, std::memory_order_release); }
    bool IsAttached() const { return attached.load(std::memory_order_relaxed); }

    std::size_t Available() const {
        return static_cast<std::size_t>(writeIndex.load(std::memory_order_acquire) -
                                        readIndex.load(std::memory_order_relaxed));
    }

    // Moves up to maxFrames of the oldest frames out; out[slot] receives that
    // slot's samples (a null pointer skips the slot). Returns the frames moved.
    std::size_t Read(std::span<float* const> out, std::size_t maxFrames) {
        const std::uint64_t read = readIndex.load(std::memory_order_relaxed);
        const std::uint64_t written = writeIndex.load(std::memory_order_acquire);
        const std::size_t n = std::min(static_cast<std::size_t>(written - read), maxFrames);
        const std::size_t start = static_cast<std::size_t>(read) & mask;
        const std::size_t first = std::min(n, capacity - start);
        for (std::size_t slot = 0; slot < slotCount && slot < out.size(); ++slot) {
            if (out[slot] == nullptr) {
                continue;
            }
            const float* run = samples.data() + slot * capacity;
            std::memcpy(out[slot], run + start, first * sizeof(float));
            std::memcpy(out[slot] + first, run, (n - first) * sizeof(float));
        }
        readIndex.store(read + n, std::memory_order_release);
        return n;
    }

    // Frames the writer had to drop because the reader had not made room.
    std::uint64_t Dropped() const { return dropped.load(std::memory_order_relaxed); }

    // ----- writer
    std::size_t BeginBlock(std::size_t frames) {
        staged = 0;
        if (!attached.load(std::memory_order_relaxed) || frames == 0) {
            return 0;
        }
        const std::uint64_t used =
            writeIndex.load(std::memory_order_relaxed) - readIndex.load(std::memory_order_acquire);
        if (frames > capacity - used) {
            dropped.store(dropped.load(std::memory_order_relaxed) + frames,
                          std::memory_order_relaxed);
            return 0;
        }
        staged = frames;
        return staged;
    }

    // Copies the block's samples of one slot (BeginBlock's count of them).
    void Write(std::size_t slot, const float* block) {
        if (staged == 0 || slot >= slotCount || block == nullptr) {
            return;
        }
        const std::size_t start =
            static_cast<std::size_t>(writeIndex.load(std::memory_order_relaxed)) & mask;
        const std::size_t first = std::min(staged, capacity - start);
        float* run = samples.data() + slot * capacity;
        std::memcpy(run + start, block, first * sizeof(float));
        std::memcpy(run, block + first, (staged - first) * sizeof(float));
    }

    void Commit() {
        if (staged != 0) {
            writeIndex.store(writeIndex.load(std::memory_order_relaxed) + staged,
                             std::memory_order_release);
            staged = 0;
        }
    }

private:
    const std::size_t slotCount;
    const std::size_t capacity;
    const std::size_t mask;
    std::vector<float> samples; // slot after slot, capacity samples each
    std::size_t staged = 0;     // writer only: frames of the open block
    std::atomic<bool> attached{false};
    std::atomic<std::uint64_t> dropped{0};
    alignas(64) std::atomic<std::uint64_t> writeIndex{0};
    alignas(64) std::atomic<std::uint64_t> readIndex{0};
};
