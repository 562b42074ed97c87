// The parameter-event service and run loops (see AUEvents.h and RunLoop.h).
//
// Design notes
// - Listeners live in a process-wide pool of kMaxListeners slots. A slot's Listener
//   object is allocated once and never freed, so a poster may always dereference it.
//   Posters announce themselves on a listener (posters counter) before reading it;
//   disposal clears `alive` and waits until no poster is inside, then waits for an
//   in-flight delivery (deliverMutex) before the slot may be reused.
// - Subscriptions of a listener are append-only for its life (removal clears
//   `active`); a subscription's key is written before it is published through the
//   open-addressing hash (release store), so posters read keys without locks.
// - The queue holds {subscription index, time}. A value change sets the subscription's
//   `pending` flag and queues a marker only when the flag was clear; delivery clears
//   the flag, then reads the latest value. Gesture and property events are queued one
//   by one; when the queue is full the subscription's overflow counter is raised and
//   a rescan is requested, which delivers them after the queue is drained.

#include "framework/AUEvents.h"

#include "framework/AUBase.h"
#include "framework/LockFreeQueue.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace zkfw {

struct Listener;

namespace {
constexpr std::size_t kHashSize = 2 * kMaxSubscriptions;
static_assert((kHashSize & (kHashSize - 1)) == 0);

UInt64 NowNs() {
    return static_cast<UInt64>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                   std::chrono::steady_clock::now().time_since_epoch())
                                   .count());
}

struct Key {
    AudioUnit unit = nullptr;
    AudioUnitEventType type = 0;
    UInt32 id = 0;
    AudioUnitScope scope = 0;
    AudioUnitElement element = 0;
    bool operator==(const Key&) const = default;
};

Key KeyOf(const AudioUnitEvent& e) {
    Key k;
    k.type = e.mEventType;
    if (e.mEventType == kAudioUnitEvent_PropertyChange) {
        k.unit = e.mArgument.mProperty.mAudioUnit;
        k.id = e.mArgument.mProperty.mPropertyID;
        k.scope = e.mArgument.mProperty.mScope;
        k.element = e.mArgument.mProperty.mElement;
    } else {
        k.unit = e.mArgument.mParameter.mAudioUnit;
        k.id = e.mArgument.mParameter.mParameterID;
        k.scope = e.mArgument.mParameter.mScope;
        k.element = e.mArgument.mParameter.mElement;
    }
    return k;
}

std::size_t HashOf(const Key& k) {
    UInt64 h = reinterpret_cast<std::uintptr_t>(k.unit);
    h ^= (UInt64(k.type) << 56) ^ (UInt64(k.scope) << 48) ^ (UInt64(k.element) << 32) ^ k.id;
    h *= 0x9E3779B97F4A7C15ull;
    h ^= h >> 29;
    return static_cast<std::size_t>(h) & (kHashSize - 1);
}

struct Subscription {
    // Key: immutable once published.
    Key key;
    void* object = nullptr;
    // State shared with posters.
    std::atomic<bool> active{false};
    std::atomic<bool> pending{false};
    std::atomic<float> value{0.0f};
    std::atomic<UInt64> hostTime{0};
    std::atomic<UInt32> overflowed{0};
};

struct QueuedEvent {
    UInt32 sub = 0;
    UInt64 hostTime = 0;
};

thread_local Listener* tlsDelivering = nullptr;
} // namespace

struct Listener {
    // Life cycle.
    bool inUse = false; // guarded by gCreateMutex
    std::atomic<bool> alive{false};
    std::atomic<int> posters{0};
    std::atomic<UInt64> generation{0}; // bumped on Release

    // Configuration (written before `alive` is set).
    AUEventListenerProc proc = nullptr;
    void* userData = nullptr;
    std::chrono::nanoseconds interval{0};
    std::shared_ptr<CFRunLoop> loop;

    // Subscriptions.
    std::mutex subMutex;
    std::array<Subscription, kMaxSubscriptions> subs;
    std::atomic<UInt32> subCount{0};
    std::array<std::atomic<std::int32_t>, kHashSize> hash;

    // Events.
    LockFreeQueue<QueuedEvent, kEventQueueCapacity> queue;
    std::atomic<bool> rescan{false};
    std::atomic<UInt64> overflowCount{0};

    // Delivery.
    std::mutex deliverMutex;
    std::chrono::steady_clock::time_point lastDelivery{};
    bool disposeDeferred = false;

    Listener() {
        for (auto& h : hash) {
            h.store(-1, std::memory_order_relaxed);
        }
    }

    // Finds the subscription with this key and object (subMutex held or not: read-only).
    std::int32_t Find(const Key& k, void* object) const {
        std::size_t h = HashOf(k);
        for (std::size_t probe = 0; probe < kHashSize; ++probe) {
            const std::int32_t idx = hash[h].load(std::memory_order_acquire);
            if (idx < 0) {
                return -1;
            }
            const Subscription& s = subs[static_cast<std::size_t>(idx)];
            if (s.key == k && s.object == object) {
                return idx;
            }
            h = (h + 1) & (kHashSize - 1);
        }
        return -1;
    }

    // Poster side (any thread; lock-free, allocation-free).
    void Offer(const Key& k, Listener* sender, void* senderObject, float value, UInt64 now) {
        std::size_t h = HashOf(k);
        for (std::size_t probe = 0; probe < kHashSize; ++probe) {
            const std::int32_t idx = hash[h].load(std::memory_order_acquire);
            if (idx < 0) {
                return;
            }
            h = (h + 1) & (kHashSize - 1);
            Subscription& s = subs[static_cast<std::size_t>(idx)];
            if (!(s.key == k) || !s.active.load(std::memory_order_acquire)) {
                continue;
            }
            if (sender == this && s.object == senderObject) {
                continue;
            }
            const QueuedEvent q{static_cast<UInt32>(idx), now};
            if (k.type == kAudioUnitEvent_ParameterValueChange) {
                s.value.store(value, std::memory_order_seq_cst);
                s.hostTime.store(now, std::memory_order_relaxed);
                if (!s.pending.exchange(true, std::memory_order_seq_cst)) {
                    if (!queue.TryPush(q)) {
                        rescan.store(true, std::memory_order_release); // pending stays set
                    }
                }
            } else if (!queue.TryPush(q)) {
                s.hostTime.store(now, std::memory_order_relaxed);
                s.overflowed.fetch_add(1, std::memory_order_acq_rel);
                overflowCount.fetch_add(1, std::memory_order_relaxed);
                rescan.store(true, std::memory_order_release);
            }
        }
    }

    bool HasPending() const {
        return !queue.EmptyApprox() || rescan.load(std::memory_order_acquire);
    }

    void Call(const Subscription& s, UInt64 t, float v) {
        AudioUnitEvent e;
        e.mEventType = s.key.type;
        if (s.key.type == kAudioUnitEvent_PropertyChange) {
            e.mArgument.mProperty =
                AudioUnitProperty{s.key.unit, s.key.id, s.key.scope, s.key.element};
        } else {
            e.mArgument.mParameter =
                AudioUnitParameter{s.key.unit, s.key.id, s.key.scope, s.key.element};
        }
        proc(userData, s.object, &e, t, v);
    }

    // Consumer side: deliverMutex held, on the run loop's delivering thread.
    std::size_t Deliver() {
        std::size_t calls = 0;
        Listener* const previous = tlsDelivering;
        tlsDelivering = this;
        QueuedEvent q;
        std::size_t budget = kEventQueueCapacity;
        while (budget-- > 0 && alive.load(std::memory_order_acquire) && queue.TryPop(q)) {
            Subscription& s = subs[q.sub];
            if (s.key.type == kAudioUnitEvent_ParameterValueChange) {
                if (!s.pending.exchange(false, std::memory_order_seq_cst)) {
                    continue; // already delivered by a rescan
                }
                if (!s.active.load(std::memory_order_acquire)) {
                    continue;
                }
                const float v = s.value.load(std::memory_order_seq_cst);
                Call(s, s.hostTime.load(std::memory_order_relaxed), v);
            } else {
                if (!s.active.load(std::memory_order_acquire)) {
                    continue;
                }
                Call(s, q.hostTime, 0.0f);
            }
            ++calls;
        }
        if (alive.load(std::memory_order_acquire) &&
            rescan.exchange(false, std::memory_order_acq_rel)) {
            const UInt32 n = subCount.load(std::memory_order_acquire);
            for (UInt32 i = 0; i < n && alive.load(std::memory_order_acquire); ++i) {
                Subscription& s = subs[i];
                if (s.key.type == kAudioUnitEvent_ParameterValueChange) {
                    if (s.pending.load(std::memory_order_seq_cst) &&
                        s.pending.exchange(false, std::memory_order_seq_cst) &&
                        s.active.load(std::memory_order_acquire)) {
                        Call(s, s.hostTime.load(std::memory_order_relaxed),
                             s.value.load(std::memory_order_seq_cst));
                        ++calls;
                    }
                } else if (s.overflowed.exchange(0, std::memory_order_acq_rel) > 0 &&
                           s.active.load(std::memory_order_acquire)) {
                    Call(s, s.hostTime.load(std::memory_order_relaxed), 0.0f);
                    ++calls;
                }
            }
        }
        tlsDelivering = previous;
        if (calls > 0) {
            lastDelivery = std::chrono::steady_clock::now();
        }
        return calls;
    }

    // Returns the slot to the pool: deliverMutex held, no poster inside, detached.
    // Returns the run-loop reference, to be dropped by the caller after unlocking
    // deliverMutex (dropping the last reference of a threaded loop joins its thread).
    std::shared_ptr<CFRunLoop> Release();
};

namespace {
std::mutex gCreateMutex;
std::array<std::atomic<Listener*>, kMaxListeners> gSlots{};
std::atomic<std::size_t> gHighWater{0};

Listener* FromRef(AUEventListenerRef ref) {
    return reinterpret_cast<Listener*>(ref);
}
} // namespace

// ---------------------------------------------------------------------------
// Run loop implementation

struct RunLoopImpl {
    explicit RunLoopImpl(bool threaded_, std::chrono::milliseconds tick_)
        : threaded(threaded_), tick(tick_) {}

    const bool threaded;
    const std::chrono::milliseconds tick;
    std::mutex listMutex; // never taken by posters
    std::vector<Listener*> listeners;
    struct Entry {
        Listener* listener;
        UInt64 generation;
    };
    std::vector<Entry> snapshot; // used by the delivering thread only
    std::mutex pumpMutex;
    std::mutex stopMutex;
    std::condition_variable stopCv;
    bool stopRequested = false;
    std::thread thread;

    void Attach(Listener* l) {
        std::lock_guard<std::mutex> g(listMutex);
        listeners.push_back(l);
    }
    void Detach(Listener* l) {
        std::lock_guard<std::mutex> g(listMutex);
        listeners.erase(std::remove(listeners.begin(), listeners.end(), l), listeners.end());
    }

    std::size_t DeliverRound(bool honourIntervals) {
        snapshot.clear();
        {
            std::lock_guard<std::mutex> g(listMutex);
            for (Listener* l : listeners) {
                snapshot.push_back({l, l->generation.load(std::memory_order_acquire)});
            }
        }
        std::size_t calls = 0;
        const auto now = std::chrono::steady_clock::now();
        for (const Entry& e : snapshot) {
            Listener* l = e.listener;
            std::unique_lock<std::mutex> lock(l->deliverMutex);
            if (l->generation.load(std::memory_order_acquire) != e.generation ||
                !l->alive.load(std::memory_order_acquire) || !l->loop || &l->loop->Impl() != this ||
                !l->HasPending()) {
                continue;
            }
            if (honourIntervals && now - l->lastDelivery < l->interval) {
                continue;
            }
            calls += l->Deliver();
            if (l->disposeDeferred) {
                std::shared_ptr<CFRunLoop> drop = l->Release();
                lock.unlock();
                drop.reset(); // on this loop's own thread: a threaded loop detaches
            }
        }
        return calls;
    }
};

std::shared_ptr<CFRunLoop> Listener::Release() {
    QueuedEvent q;
    while (queue.TryPop(q)) {
    }
    for (auto& h : hash) {
        h.store(-1, std::memory_order_relaxed);
    }
    subCount.store(0, std::memory_order_release);
    rescan.store(false, std::memory_order_relaxed);
    overflowCount.store(0, std::memory_order_relaxed);
    disposeDeferred = false;
    generation.fetch_add(1, std::memory_order_acq_rel);
    proc = nullptr;
    userData = nullptr;
    std::shared_ptr<CFRunLoop> previousLoop = std::move(loop);
    std::lock_guard<std::mutex> g(gCreateMutex);
    inUse = false;
    return previousLoop;
}

namespace {
thread_local std::shared_ptr<CFRunLoop> tlsInstalled;
thread_local std::shared_ptr<CFRunLoop> tlsOwnDefault;
thread_local std::weak_ptr<CFRunLoop> tlsThreadLoop;
thread_local RunLoopImpl* tlsPumping = nullptr;
} // namespace

// ---------------------------------------------------------------------------
// Posting

void PostEvent(AUEventListenerRef sendingListener, void* sendingObject, const AudioUnitEvent& event,
               AudioUnitParameterValue value) {
    const Key k = KeyOf(event);
    if (!k.unit || k.type > kAudioUnitEvent_PropertyChange) {
        return;
    }
    const UInt64 now = NowNs();
    Listener* const sender = FromRef(sendingListener);
    const std::size_t n = gHighWater.load(std::memory_order_acquire);
    for (std::size_t i = 0; i < n; ++i) {
        Listener* l = gSlots[i].load(std::memory_order_acquire);
        if (!l) {
            continue;
        }
        l->posters.fetch_add(1, std::memory_order_seq_cst);
        if (l->alive.load(std::memory_order_seq_cst)) {
            l->Offer(k, sender, sendingObject, value, now);
        }
        l->posters.fetch_sub(1, std::memory_order_release);
    }
}

} // namespace zkfw

using zkfw::Listener;

// ---------------------------------------------------------------------------
// CFRunLoop

CFRunLoop::CFRunLoop(bool threaded, std::chrono::milliseconds tick)
    : mImpl(std::make_shared<zkfw::RunLoopImpl>(threaded, tick)) {}

std::shared_ptr<CFRunLoop> CFRunLoop::CreatePumped() {
    return std::shared_ptr<CFRunLoop>(new CFRunLoop(false, std::chrono::milliseconds(0)));
}

std::shared_ptr<CFRunLoop> CFRunLoop::CreateThreaded(std::chrono::milliseconds tick) {
    if (tick < std::chrono::milliseconds(1)) {
        tick = std::chrono::milliseconds(1);
    }
    std::shared_ptr<CFRunLoop> loop(new CFRunLoop(true, tick));
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
    for (int round = 0; round < 64; ++round) {
        const std::size_t calls = impl->DeliverRound(false);
        total += calls;
        if (calls == 0) {
            break;
        }
    }
    zkfw::tlsPumping = previous;
    return total;
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

// ---------------------------------------------------------------------------
// Listener API

OSStatus AUEventListenerCreate(AUEventListenerProc proc, void* userData, CFRunLoopRef runLoop,
                               CFStringRef, Float32 interval, Float32,
                               AUEventListenerRef* outListener) {
    if (!outListener) {
        return kAudio_ParamError;
    }
    *outListener = nullptr;
    if (!proc) {
        return kAudio_ParamError;
    }
    std::shared_ptr<CFRunLoop> loop =
        (runLoop ? runLoop : CFRunLoopGetCurrent())->shared_from_this();
    Listener* l = nullptr;
    std::shared_ptr<CFRunLoop> oldLoop;
    {
        std::lock_guard<std::mutex> g(zkfw::gCreateMutex);
        for (std::size_t i = 0; i < zkfw::kMaxListeners && !l; ++i) {
            Listener* p = zkfw::gSlots[i].load(std::memory_order_acquire);
            if (!p) {
                p = new Listener();
                zkfw::gSlots[i].store(p, std::memory_order_release);
                if (zkfw::gHighWater.load(std::memory_order_relaxed) < i + 1) {
                    zkfw::gHighWater.store(i + 1, std::memory_order_release);
                }
            }
            if (!p->inUse) {
                p->inUse = true;
                l = p;
            }
        }
    }
    if (!l) {
        return kAudio_MemFullError;
    }
    {
        std::lock_guard<std::mutex> g(l->deliverMutex);
        l->proc = proc;
        l->userData = userData;
        const double seconds = interval > 0.0f && interval < 3600.0f ? interval : 0.0;
        l->interval = std::chrono::nanoseconds(static_cast<std::int64_t>(seconds * 1e9));
        oldLoop = std::move(l->loop);
        l->loop = loop;
        l->lastDelivery = {};
    }
    loop->Impl().Attach(l);
    l->alive.store(true, std::memory_order_seq_cst);
    *outListener = reinterpret_cast<AUEventListenerRef>(l);
    return noErr; // oldLoop released here, on the creating thread
}

OSStatus AUEventListenerAddEventType(AUEventListenerRef listener, void* object,
                                     const AudioUnitEvent* event) {
    Listener* l = zkfw::FromRef(listener);
    if (!l || !event || !l->alive.load(std::memory_order_acquire)) {
        return kAudio_ParamError;
    }
    const zkfw::Key k = zkfw::KeyOf(*event);
    if (!k.unit || k.type > kAudioUnitEvent_PropertyChange) {
        return kAudio_ParamError;
    }
    std::lock_guard<std::mutex> g(l->subMutex);
    const std::int32_t found = l->Find(k, object);
    if (found >= 0) {
        l->subs[static_cast<std::size_t>(found)].active.store(true, std::memory_order_release);
        return noErr;
    }
    const UInt32 n = l->subCount.load(std::memory_order_relaxed);
    if (n >= zkfw::kMaxSubscriptions) {
        return kAudio_MemFullError;
    }
    zkfw::Subscription& s = l->subs[n];
    s.key = k;
    s.object = object;
    s.pending.store(false, std::memory_order_relaxed);
    s.overflowed.store(0, std::memory_order_relaxed);
    s.value.store(0.0f, std::memory_order_relaxed);
    s.active.store(true, std::memory_order_relaxed);
    std::size_t h = zkfw::HashOf(k);
    while (l->hash[h].load(std::memory_order_relaxed) >= 0) {
        h = (h + 1) & (zkfw::kHashSize - 1);
    }
    l->hash[h].store(static_cast<std::int32_t>(n), std::memory_order_release);
    l->subCount.store(n + 1, std::memory_order_release);
    return noErr;
}

OSStatus AUEventListenerRemoveEventType(AUEventListenerRef listener, void* object,
                                        const AudioUnitEvent* event) {
    Listener* l = zkfw::FromRef(listener);
    if (!l || !event || !l->alive.load(std::memory_order_acquire)) {
        return kAudio_ParamError;
    }
    const zkfw::Key k = zkfw::KeyOf(*event);
    std::lock_guard<std::mutex> g(l->subMutex);
    const std::int32_t found = l->Find(k, object);
    if (found < 0) {
        return kAudio_ParamError;
    }
    zkfw::Subscription& s = l->subs[static_cast<std::size_t>(found)];
    if (!s.active.exchange(false, std::memory_order_acq_rel)) {
        return kAudio_ParamError;
    }
    return noErr;
}

OSStatus AUListenerDispose(AUEventListenerRef listener) {
    Listener* l = zkfw::FromRef(listener);
    if (!l || !l->alive.exchange(false, std::memory_order_seq_cst)) {
        return kAudio_ParamError;
    }
    while (l->posters.load(std::memory_order_seq_cst) != 0) {
        std::this_thread::yield();
    }
    l->loop->Impl().Detach(l);
    if (zkfw::tlsDelivering == l) {
        l->disposeDeferred = true; // released by the delivery that is running us
        return noErr;
    }
    std::shared_ptr<CFRunLoop> drop;
    {
        std::lock_guard<std::mutex> g(l->deliverMutex);
        drop = l->Release();
    }
    return noErr; // `drop` goes after the lock is released
}

OSStatus AUEventListenerNotify(AUEventListenerRef sendingListener, void* sendingObject,
                               const AudioUnitEvent* event) {
    if (!event || event->mEventType > kAudioUnitEvent_PropertyChange) {
        return kAudio_ParamError;
    }
    AudioUnitParameterValue value = 0.0f;
    if (event->mEventType == kAudioUnitEvent_PropertyChange) {
        if (!event->mArgument.mProperty.mAudioUnit) {
            return kAudio_ParamError;
        }
    } else {
        const AudioUnitParameter& p = event->mArgument.mParameter;
        if (!p.mAudioUnit) {
            return kAudio_ParamError;
        }
        if (event->mEventType == kAudioUnitEvent_ParameterValueChange) {
            p.mAudioUnit->PeekParameter(p.mScope, p.mElement, p.mParameterID, value);
        }
    }
    zkfw::PostEvent(sendingListener, sendingObject, *event, value);
    return noErr;
}

OSStatus AUParameterSet(AUEventListenerRef sendingListener, void* sendingObject,
                        const AudioUnitParameter* parameter, AudioUnitParameterValue value,
                        UInt32 bufferOffsetInFrames) {
    if (!parameter || !parameter->mAudioUnit) {
        return kAudio_ParamError;
    }
    const OSStatus r =
        parameter->mAudioUnit->SetParameter(parameter->mParameterID, parameter->mScope,
                                            parameter->mElement, value, bufferOffsetInFrames);
    if (r != noErr) {
        return r;
    }
    AudioUnitEvent e;
    e.mEventType = kAudioUnitEvent_ParameterValueChange;
    e.mArgument.mParameter = *parameter;
    zkfw::PostEvent(sendingListener, sendingObject, e, value);
    return noErr;
}

UInt64 AUEventListenerGetOverflowCount(AUEventListenerRef listener) {
    Listener* l = zkfw::FromRef(listener);
    return l ? l->overflowCount.load(std::memory_order_relaxed) : 0;
}
