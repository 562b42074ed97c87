// Run loops: the client list, the delivery round, the loop thread and Pump(), and the
// run loop of each thread. The listeners themselves are EventListener.cpp's.

#include "framework/RunLoop.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace zkfw {

struct RunLoopImpl {
    RunLoopImpl(bool threaded_, std::chrono::milliseconds tick_)
        : threaded(threaded_), tick(tick_) {}

    const bool threaded;
    const std::chrono::milliseconds tick;
    std::mutex listMutex; // never taken by posters
    std::vector<RunLoopClient*> clients;
    struct Entry {
        RunLoopClient* client;
        UInt64 generation;
    };
    std::vector<Entry> snapshot; // used by the delivering thread only
    std::mutex pumpMutex;
    std::mutex stopMutex;
    std::condition_variable stopCv;
    bool stopRequested = false;
    std::thread thread;

    // One pass over the clients attached now. A client's callbacks may attach or
    // detach clients (and dispose of themselves): the snapshot and the generations
    // keep the pass valid.
    std::size_t DeliverRound(bool honourIntervals) {
        snapshot.clear();
        {
            std::lock_guard<std::mutex> g(listMutex);
            for (RunLoopClient* c : clients) {
                snapshot.push_back({c, c->Generation()});
            }
        }
        std::size_t calls = 0;
        const auto now = std::chrono::steady_clock::now();
        for (const Entry& e : snapshot) {
            calls += e.client->DeliverPending(*this, e.generation, honourIntervals, now);
        }
        return calls;
    }
};

namespace {
thread_local std::shared_ptr<CFRunLoop> tlsInstalled;
thread_local std::shared_ptr<CFRunLoop> tlsOwnDefault;
thread_local std::weak_ptr<CFRunLoop> tlsThreadLoop;
thread_local RunLoopImpl* tlsPumping = nullptr;
} // namespace

} // namespace zkfw

CFRunLoop::CFRunLoop(bool threaded, std::chrono::milliseconds tick)
    : mImpl(std::make_shared<zkfw::RunLoopImpl>(threaded, tick)) {}

std::shared_ptr<CFRunLoop> CFRunLoop::CreatePumped() {
    return std::shared_ptr<CFRunLoop>(new CFRunLoop(false, std::chrono::milliseconds(0)));
}

std::shared_ptr<CFRunLoop> CFRunLoop::CreateThreaded(std::chrono::milliseconds tick) {
    tick = std::max(tick, zkfw::kMinRunLoopTick);
    std::shared_ptr<CFRunLoop> loop(new CFRunLoop(true, tick));
    // The thread holds the implementation, not the handle: dropping the last handle
    // stops the thread (see Stop()).
    std::shared_ptr<zkfw::RunLoopImpl> impl = loop->mImpl;
    std::weak_ptr<CFRunLoop> weak = loop;
    impl->thread = std::thread([impl, weak] {
        zkfw::tlsThreadLoop = weak;
        for (;;) {
            {
                std::unique_lock<std::mutex> lk(impl->stopMutex);
                if (impl->stopCv.wait_for(lk, impl->tick, [&] { return impl->stopRequested; })) {
                    break;
                }
            }
            impl->DeliverRound(true);
        }
    });
    return loop;
}

CFRunLoop::~CFRunLoop() {
    Stop();
}

bool CFRunLoop::IsThreaded() const {
    return mImpl->threaded;
}

bool CFRunLoop::IsCurrentThread() const {
    return mImpl->threaded && mImpl->thread.get_id() == std::this_thread::get_id();
}

void CFRunLoop::Stop() {
    if (!mImpl->threaded) {
        return;
    }
    {
        std::lock_guard<std::mutex> g(mImpl->stopMutex);
        mImpl->stopRequested = true;
    }
    mImpl->stopCv.notify_all();
    if (mImpl->thread.joinable()) {
        if (mImpl->thread.get_id() == std::this_thread::get_id()) {
            mImpl->thread.detach(); // the thread holds the impl; it ends after this round
        } else {
            mImpl->thread.join();
        }
    }
}

std::size_t CFRunLoop::Pump() {
    // Keep the implementation alive even if a callback drops the last handle.
    const std::shared_ptr<zkfw::RunLoopImpl> keep = mImpl;
    zkfw::RunLoopImpl* impl = keep.get();
    if (impl->threaded || zkfw::tlsPumping == impl) {
        return 0;
    }
    std::lock_guard<std::mutex> g(impl->pumpMutex);
    zkfw::RunLoopImpl* const previous = zkfw::tlsPumping;
    zkfw::tlsPumping = impl;
    std::size_t total = 0;
    for (int round = 0; round < zkfw::kMaxPumpRounds; ++round) {
        const std::size_t calls = impl->DeliverRound(false);
        total += calls;
        if (calls == 0) {
            break;
        }
    }
    zkfw::tlsPumping = previous;
    return total;
}

void CFRunLoop::Attach(zkfw::RunLoopClient& client) {
    std::lock_guard<std::mutex> g(mImpl->listMutex);
    mImpl->clients.push_back(&client);
}

void CFRunLoop::Detach(zkfw::RunLoopClient& client) {
    std::lock_guard<std::mutex> g(mImpl->listMutex);
    std::erase(mImpl->clients, &client);
}

CFRunLoopRef CFRunLoopGetCurrent() {
    if (zkfw::tlsInstalled) {
        return zkfw::tlsInstalled.get();
    }
    if (auto own = zkfw::tlsThreadLoop.lock()) {
        return own.get();
    }
    if (!zkfw::tlsOwnDefault) {
        zkfw::tlsOwnDefault = CFRunLoop::CreatePumped();
    }
    return zkfw::tlsOwnDefault.get();
}

std::shared_ptr<CFRunLoop> CFRunLoopSetCurrent(std::shared_ptr<CFRunLoop> loop) {
    std::shared_ptr<CFRunLoop> previous = std::move(zkfw::tlsInstalled);
    zkfw::tlsInstalled = std::move(loop);
    return previous;
}
