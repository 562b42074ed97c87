#pragma once

// Run loops: where parameter-event listeners are called.
//
// A run loop is either
// - threaded: owned by the framework and backed by its own thread, which wakes every
//   tick (kDefaultRunLoopTick unless given) and delivers the pending events of each
//   listener whose notification interval has elapsed (a unit initialised with such a
//   loop installed hears its parameter changes on that thread), or
// - pumped: nothing happens until its owner calls Pump() on one thread; Pump()
//   delivers everything pending at once, whatever the intervals (editor views on
//   their timer, screenshots, tests: deterministic).
//
// CFRunLoopGetCurrent() returns the run loop installed for the calling thread
// (CFRunLoopSetCurrent / ScopedCurrentRunLoop). A thread with none installed gets,
// on its first call, a pumped run loop of its own, kept for the thread's life.
// Listeners keep their run loop alive; a threaded loop stops its thread when the
// last reference goes away (or on Stop()).

#include "framework/Types.h"

#include <chrono>
#include <cstddef>
#include <memory>

namespace zkfw {
struct RunLoopImpl;

// A listener as its run loop sees it; the event service implements it. The loop
// snapshots its clients with their generations, then asks each to deliver.
class RunLoopClient {
public:
    // Changes whenever the client is reused for another listener: a snapshot taken
    // under an older generation is stale and delivers nothing.
    virtual UInt64 Generation() const = 0;
    // Delivers this client's pending events on the calling thread if it still belongs
    // to `loop` under `generation` and, when `honourIntervals`, its notification
    // interval has passed by `now`. Returns the number of callbacks made.
    virtual std::size_t DeliverPending(const RunLoopImpl& loop, UInt64 generation,
                                       bool honourIntervals,
                                       std::chrono::steady_clock::time_point now) = 0;

protected:
    ~RunLoopClient() = default;
};

inline constexpr std::chrono::milliseconds kDefaultRunLoopTick{5};
inline constexpr std::chrono::milliseconds kMinRunLoopTick{1};
inline constexpr int kMaxPumpRounds = 64; // a callback chain that keeps posting ends here
} // namespace zkfw

class CFRunLoop : public std::enable_shared_from_this<CFRunLoop> {
public:
    static std::shared_ptr<CFRunLoop> CreatePumped();
    // `tick` below kMinRunLoopTick is raised to it.
    static std::shared_ptr<CFRunLoop>
    CreateThreaded(std::chrono::milliseconds tick = zkfw::kDefaultRunLoopTick);
    ~CFRunLoop(); // threaded: Stop()
    CFRunLoop(const CFRunLoop&) = delete;
    CFRunLoop& operator=(const CFRunLoop&) = delete;

    bool IsThreaded() const;
    // Pumped loops: delivers every pending event of every listener on the calling
    // thread, then again for events the callbacks posted, until nothing is pending
    // (at most kMaxPumpRounds rounds). Returns the number of callbacks made.
    // Threaded loops, or a Pump() called from inside a callback of this loop: does
    // nothing, returns 0.
    std::size_t Pump();
    // Threaded loops: stops and joins the thread (idempotent); later events stay queued.
    void Stop();
    // True when called on this loop's own thread (threaded loops).
    bool IsCurrentThread() const;

    // Framework-internal: the event service attaches and detaches its listeners, and
    // a listener recognises its loop by Impl(), which outlives the handle while the
    // loop's thread or a Pump() still runs.
    void Attach(zkfw::RunLoopClient& client);
    void Detach(zkfw::RunLoopClient& client);
    const zkfw::RunLoopImpl& Impl() const { return *mImpl; }

private:
    explicit CFRunLoop(bool threaded, std::chrono::milliseconds tick);
    std::shared_ptr<zkfw::RunLoopImpl> mImpl;
};
using CFRunLoopRef = CFRunLoop*;

inline constexpr CFStringRef kCFRunLoopDefaultMode = "kCFRunLoopDefaultMode";
inline constexpr CFStringRef kCFRunLoopCommonModes = "kCFRunLoopCommonModes";

// The run loop of the calling thread (see above). Never null.
CFRunLoopRef CFRunLoopGetCurrent();
// Installs `loop` (may be null to uninstall) for the calling thread; returns the
// previously installed one.
std::shared_ptr<CFRunLoop> CFRunLoopSetCurrent(std::shared_ptr<CFRunLoop> loop);

// RAII: installs a run loop for the current thread and restores the previous one.
class ScopedCurrentRunLoop {
public:
    explicit ScopedCurrentRunLoop(std::shared_ptr<CFRunLoop> loop)
        : mPrevious(CFRunLoopSetCurrent(std::move(loop))) {}
    ~ScopedCurrentRunLoop() { CFRunLoopSetCurrent(std::move(mPrevious)); }
    ScopedCurrentRunLoop(const ScopedCurrentRunLoop&) = delete;
    ScopedCurrentRunLoop& operator=(const ScopedCurrentRunLoop&) = delete;

private:
    std::shared_ptr<CFRunLoop> mPrevious;
};
