#pragma once

// Counts what the calling thread does while armed: allocation and release
// (malloc, calloc, realloc, free, operator new/delete and the aligned forms),
// mutex locks, waits (semaphores, condition variables) and sleeps. The test
// executable defines those functions itself (RealtimeGuard.cpp) and exports
// them, so every call in the process, also from libraries and dlopen'ed
// plug-ins, passes through here. Arm only around audio-thread calls.

#include <cstddef>
#include <string>

namespace zkrel::rt {

// Try-locks are counted but not failed: they return at once whether or not the
// lock was free (the plug-in framework's CLAP glue polls its UI event queue so).
enum class Kind : std::size_t { Allocate, Release, Lock, Wait, Sleep, TryLock };
inline constexpr std::size_t kKindCount = 6;

struct Report {
    unsigned long count[kKindCount] = {};
    unsigned long Count(Kind k) const { return count[static_cast<std::size_t>(k)]; }
    // Where the first counted call of each kind came from ("" when none).
    std::string firstCaller[kKindCount];
    unsigned long Total() const; // every kind that can allocate, block or sleep
    std::string Describe() const;
};

// Arms or disarms the calling thread.
void Arm();
void Disarm();
// Counts since the last Clear, over all threads that were armed.
Report Take();
void Clear();

// RAII: armed for the scope.
class Armed {
public:
    Armed() { Arm(); }
    ~Armed() { Disarm(); }
    Armed(const Armed&) = delete;
    Armed& operator=(const Armed&) = delete;
};

} // namespace zkrel::rt
