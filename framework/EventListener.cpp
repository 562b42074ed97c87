#include "framework/EventListener.h"

#include <thread>

namespace zkfw {

namespace {
// The listener whose callbacks run on this thread (a callback may dispose of it).
thread_local const Listener* tlsDelivering = nullptr;

// 2^64 / golden ratio: multiplying by it spreads nearby keys over the whole hash.
constexpr UInt64 kFibonacciHashMultiplier = 0x9E3779B97F4A7C15ull;
} // namespace

SubscriptionKey KeyOf(const AudioUnitEvent& e) {
    SubscriptionKey k;
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

std::size_t Listener::HashOf(const SubscriptionKey& k) {
    UInt64 h = reinterpret_cast<std::uintptr_t>(k.unit);
    h ^= (UInt64(k.type) << 56) ^ (UInt64(k.scope) << 48) ^ (UInt64(k.element) << 32) ^ k.id;
    h *= kFibonacciHashMultiplier;
    h ^= h >> 29;
    return static_cast<std::size_t>(h) & (kHashSize - 1);
}

Listener::Listener() {
    for (auto& h : mHash) {
        h.store(-1, std::memory_order_relaxed);
    }
}

// ---------------------------------------------------------------------------
// Pool side

bool Listener::TryClaim() {
    bool expected = false;
    return mInUse.compare_exchange_strong(expected, true, std::memory_order_acq_rel);
}

void Listener::Open(AUEventListenerProc proc, void* userData, std::chrono::nanoseconds interval,
                    std::shared_ptr<CFRunLoop> loop) {
    std::shared_ptr<CFRunLoop> oldLoop; // dropped last, on the opening thread
    {
        std::lock_guard<std::mutex> g(mDeliverMutex);
        mProc = proc;
        mUserData = userData;
        mInterval = interval;
        oldLoop = std::move(mLoop);
        mLoop = loop;
        mLastDelivery = {};
    }
    loop->Attach(*this);
    mAlive.store(true, std::memory_order_seq_cst);
}

OSStatus Listener::Subscribe(const SubscriptionKey& k, void* object) {
    if (!IsAlive() || !k.IsValid()) {
        return kAudio_ParamError;
    }
    std::lock_guard<std::mutex> g(mSubMutex);
    const std::int32_t found = Find(k, object);
    if (found >= 0) {
        mSubs[static_cast<std::size_t>(found)].active.store(true, std::memory_order_release);
        return noErr;
    }
    const UInt32 n = mSubCount.load(std::memory_order_relaxed);
    if (n >= kMaxSubscriptions) {
        return kAudio_MemFullError;
    }
    Subscription& s = mSubs[n];
    s.key = k;
    s.object = object;
    s.pending.store(false, std::memory_order_relaxed);
    s.overflowed.store(0, std::memory_order_relaxed);
    s.value.store(0.0f, std::memory_order_relaxed);
    s.active.store(true, std::memory_order_relaxed);
    std::size_t h = HashOf(k);
    while (mHash[h].load(std::memory_order_relaxed) >= 0) {
        h = (h + 1) & (kHashSize - 1);
    }
    mHash[h].store(static_cast<std::int32_t>(n), std::memory_order_release);
    mSubCount.store(n + 1, std::memory_order_release);
    return noErr;
}

OSStatus Listener::Unsubscribe(const SubscriptionKey& k, void* object) {
    if (!IsAlive()) {
        return kAudio_ParamError;
    }
    std::lock_guard<std::mutex> g(mSubMutex);
    const std::int32_t found = Find(k, object);
    if (found < 0) {
        return kAudio_ParamError;
    }
    Subscription& s = mSubs[static_cast<std::size_t>(found)];
    if (!s.active.exchange(false, std::memory_order_acq_rel)) {
        return kAudio_ParamError;
    }
    return noErr;
}

OSStatus Listener::Dispose() {
    if (!mAlive.exchange(false, std::memory_order_seq_cst)) {
        return kAudio_ParamError;
    }
    while (mPosters.load(std::memory_order_seq_cst) != 0) {
        std::this_thread::yield();
    }
    mLoop->Detach(*this);
    if (tlsDelivering == this) {
        mDisposeDeferred = true; // released by the delivery that is running us
        return noErr;
    }
    std::shared_ptr<CFRunLoop> drop;
    {
        std::lock_guard<std::mutex> g(mDeliverMutex);
        drop = Release();
    }
    return noErr; // `drop` goes after the lock is released
}

// Clears the listener for reuse: delivery lock held, no poster inside, detached.
// Returns the run-loop reference, to be dropped by the caller after unlocking the
// delivery lock (dropping the last reference of a threaded loop joins its thread).
std::shared_ptr<CFRunLoop> Listener::Release() {
    QueuedEvent q;
    while (mQueue.TryPop(q)) {
    }
    for (auto& h : mHash) {
        h.store(-1, std::memory_order_relaxed);
    }
    mSubCount.store(0, std::memory_order_release);
    mRescan.store(false, std::memory_order_relaxed);
    mOverflowCount.store(0, std::memory_order_relaxed);
    mDisposeDeferred = false;
    mGeneration.fetch_add(1, std::memory_order_acq_rel);
    mProc = nullptr;
    mUserData = nullptr;
    std::shared_ptr<CFRunLoop> previousLoop = std::move(mLoop);
    mInUse.store(false, std::memory_order_release);
    return previousLoop;
}

// ---------------------------------------------------------------------------
// Poster side

std::int32_t Listener::Find(const SubscriptionKey& k, void* object) const {
    std::size_t h = HashOf(k);
    for (std::size_t probe = 0; probe < kHashSize; ++probe) {
        const std::int32_t idx = mHash[h].load(std::memory_order_acquire);
        if (idx < 0) {
            return -1;
        }
        const Subscription& s = mSubs[static_cast<std::size_t>(idx)];
        if (s.key == k && s.object == object) {
            return idx;
        }
        h = (h + 1) & (kHashSize - 1);
    }
    return -1;
}

void Listener::Post(const SubscriptionKey& k, const Listener* sender, void* senderObject,
                    float value, UInt64 hostTime) {
    mPosters.fetch_add(1, std::memory_order_seq_cst);
    if (mAlive.load(std::memory_order_seq_cst)) {
        Offer(k, sender, senderObject, value, hostTime);
    }
    mPosters.fetch_sub(1, std::memory_order_release);
}

void Listener::Offer(const SubscriptionKey& k, const Listener* sender, void* senderObject,
                     float value, UInt64 now) {
    std::size_t h = HashOf(k);
    for (std::size_t probe = 0; probe < kHashSize; ++probe) {
        const std::int32_t idx = mHash[h].load(std::memory_order_acquire);
        if (idx < 0) {
            return;
        }
        h = (h + 1) & (kHashSize - 1);
        Subscription& s = mSubs[static_cast<std::size_t>(idx)];
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
                if (!mQueue.TryPush(q)) {
                    mRescan.store(true, std::memory_order_release); // pending stays set
                }
            }
        } else if (!mQueue.TryPush(q)) {
            s.hostTime.store(now, std::memory_order_relaxed);
            s.overflowed.fetch_add(1, std::memory_order_acq_rel);
            mOverflowCount.fetch_add(1, std::memory_order_relaxed);
            mRescan.store(true, std::memory_order_release);
        }
    }
}

// ---------------------------------------------------------------------------
// Run-loop side

bool Listener::HasPending() const {
    return !mQueue.EmptyApprox() || mRescan.load(std::memory_order_acquire);
}

std::size_t Listener::DeliverPending(const RunLoopImpl& loop, UInt64 generation,
                                     bool honourIntervals,
                                     std::chrono::steady_clock::time_point now) {
    std::unique_lock<std::mutex> lock(mDeliverMutex);
    if (mGeneration.load(std::memory_order_acquire) != generation ||
        !mAlive.load(std::memory_order_acquire) || !mLoop || &mLoop->Impl() != &loop ||
        !HasPending()) {
        return 0;
    }
    if (honourIntervals && now - mLastDelivery < mInterval) {
        return 0;
    }
    const std::size_t calls = Deliver();
    if (mDisposeDeferred) {
        std::shared_ptr<CFRunLoop> drop = Release();
        lock.unlock();
        drop.reset(); // on this loop's own thread: a threaded loop detaches
    }
    return calls;
}

void Listener::Call(const Subscription& s, UInt64 t, float v) {
    AudioUnitEvent e;
    e.mEventType = s.key.type;
    if (s.key.type == kAudioUnitEvent_PropertyChange) {
        e.mArgument.mProperty = AudioUnitProperty{s.key.unit, s.key.id, s.key.scope, s.key.element};
    } else {
        e.mArgument.mParameter =
            AudioUnitParameter{s.key.unit, s.key.id, s.key.scope, s.key.element};
    }
    mProc(mUserData, s.object, &e, t, v);
}

// Delivery lock held, on the run loop's delivering thread: the queued events in
// order, then (after an overflow) every subscription still flagged.
std::size_t Listener::Deliver() {
    std::size_t calls = 0;
    const Listener* const previous = tlsDelivering;
    tlsDelivering = this;
    QueuedEvent q;
    std::size_t budget = kEventQueueCapacity;
    while (budget-- > 0 && mAlive.load(std::memory_order_acquire) && mQueue.TryPop(q)) {
        Subscription& s = mSubs[q.sub];
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
    if (mAlive.load(std::memory_order_acquire) &&
        mRescan.exchange(false, std::memory_order_acq_rel)) {
        const UInt32 n = mSubCount.load(std::memory_order_acquire);
        for (UInt32 i = 0; i < n && mAlive.load(std::memory_order_acquire); ++i) {
            Subscription& s = mSubs[i];
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
        mLastDelivery = std::chrono::steady_clock::now();
    }
    return calls;
}

} // namespace zkfw
