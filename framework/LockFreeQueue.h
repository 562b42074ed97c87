#pragma once

// LockFreeQueue<T, Capacity>: a bounded FIFO for handing small records between
// threads without locks or allocation (D. Vyukov's bounded queue: one sequence number
// per cell). Any number of producers; meant for one consumer (several consumers are
// also safe). Storage is inside the object: construct it before use (not on the
// audio thread) and it never allocates again.
//
// - TryPush(v): false when the queue is full (the value is not stored; nothing is
//   overwritten). Never blocks, never waits for another thread.
// - TryPop(v): false when the queue is empty. Never blocks. A producer that was
//   pre-empted between claiming a cell and filling it makes the consumer see "empty"
//   until it resumes; later items stay queued behind it (FIFO is kept).
// - T must be default-constructible and copy-assignable; keep it small and trivial.
//
// Typical use in a unit: the parameter thread pushes {kind, parameter id} commands,
// the render thread drains them at the start of every block.

#include <atomic>
#include <cstddef>
#include <type_traits>

template <class T, std::size_t Capacity> class LockFreeQueue {
    static_assert(Capacity >= 2 && (Capacity & (Capacity - 1)) == 0,
                  "Capacity must be a power of two");
    static_assert(std::is_default_constructible_v<T> && std::is_copy_assignable_v<T>);

public:
    LockFreeQueue() {
        for (std::size_t i = 0; i < Capacity; ++i) {
            cells[i].sequence.store(i, std::memory_order_relaxed);
        }
    }
    LockFreeQueue(const LockFreeQueue&) = delete;
    LockFreeQueue& operator=(const LockFreeQueue&) = delete;

    static constexpr std::size_t capacity() { return Capacity; }

    bool TryPush(const T& value) {
        std::size_t pos = tail.load(std::memory_order_relaxed);
        for (;;) {
            Cell& cell = cells[pos & kMask];
            const std::size_t seq = cell.sequence.load(std::memory_order_acquire);
            const auto diff = static_cast<std::ptrdiff_t>(seq) - static_cast<std::ptrdiff_t>(pos);
            if (diff == 0) {
                if (tail.compare_exchange_weak(pos, pos + 1, std::memory_order_relaxed)) {
                    cell.value = value;
                    cell.sequence.store(pos + 1, std::memory_order_release);
                    return true;
                }
            } else if (diff < 0) {
                return false; // full
            } else {
                pos = tail.load(std::memory_order_relaxed);
            }
        }
    }

    bool TryPop(T& out) {
        std::size_t pos = head.load(std::memory_order_relaxed);
        for (;;) {
            Cell& cell = cells[pos & kMask];
            const std::size_t seq = cell.sequence.load(std::memory_order_acquire);
            const auto diff =
                static_cast<std::ptrdiff_t>(seq) - static_cast<std::ptrdiff_t>(pos + 1);
            if (diff == 0) {
                if (head.compare_exchange_weak(pos, pos + 1, std::memory_order_relaxed)) {
                    out = cell.value;
                    cell.sequence.store(pos + kMask + 1, std::memory_order_release);
                    return true;
                }
            } else if (diff < 0) {
                return false; // empty
            } else {
                pos = head.load(std::memory_order_relaxed);
            }
        }
    }

    // Approximate number of queued items (exact when no push/pop is in flight).
    std::size_t SizeApprox() const {
        const std::size_t t = tail.load(std::memory_order_acquire);
        const std::size_t h = head.load(std::memory_order_acquire);
        return t >= h ? t - h : 0;
    }
    bool EmptyApprox() const { return SizeApprox() == 0; }

private:
    static constexpr std::size_t kMask = Capacity - 1;
    struct Cell {
        std::atomic<std::size_t> sequence{0};
        T value{};
    };
    alignas(64) std::atomic<std::size_t> tail{0};
    alignas(64) std::atomic<std::size_t> head{0};
    alignas(64) Cell cells[Capacity];
};
