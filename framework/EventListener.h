#pragma once

// One parameter-event listener: its subscriptions, its event queue and its delivery.
// Framework-internal: AUEvents.cpp keeps the pool of listeners and the public calls;
// run loops see a listener only as a RunLoopClient.
//
// - Subscriptions are append-only for the listener's life (removal clears `active`).
//   A subscription's key is written before it is published through the
//   open-addressing hash (release store), so posters read keys without locks.
// - The queue holds {subscription index, time}. A value change sets the subscription's
//   `pending` flag and queues a marker only when the flag was clear; delivery clears
//   the flag, then reads the latest value (last value wins). Gesture and property
//   events are queued one by one; when the queue is full the subscription's
//   `overflowed` counter is raised and a rescan is requested, which delivers them
//   after the queue is drained.
// - Life: the object is allocated once and never freed, so a poster may always
//   dereference it. Posters announce themselves (mPosters) before reading it;
//   disposal clears mAlive, waits until no poster is inside, then takes the delivery
//   lock before the listener is cleared for reuse (and mGeneration moves on).

#include "framework/AUEvents.h"
#include "framework/LockFreeQueue.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>

namespace zkfw {

// What a subscription listens to: event type, unit, parameter or property id, scope
// and element.
struct SubscriptionKey {
    AudioUnit unit = nullptr;
    AudioUnitEventType type = 0;
    UInt32 id = 0;
    AudioUnitScope scope = 0;
    AudioUnitElement element = 0;
    bool operator==(const SubscriptionKey&) const = default;
    // A unit and a known event type: anything else is never subscribed nor posted.
    bool IsValid() const { return unit && type <= kAudioUnitEvent_PropertyChange; }
};
SubscriptionKey KeyOf(const AudioUnitEvent& event);

struct Subscription {
    // Key: immutable once published.
    SubscriptionKey key;
    void* object = nullptr;
    // State shared with posters.
    std::atomic<bool> active{false};
    std::atomic<bool> pending{false};
    std::atomic<float> value{0.0f};
    std::atomic<UInt64> hostTime{0};
    std::atomic<UInt32> overflowed{0};
};

// A queue entry: which subscription, posted when.
struct QueuedEvent {
    UInt32 sub = 0;
    UInt64 hostTime = 0;
};

class Listener final : public RunLoopClient {
public:
    Listener();

    // Pool side. Claims an unused listener; false when it is in use.
    bool TryClaim();
    // Starts a claimed listener on `loop` with a fresh configuration.
    void Open(AUEventListenerProc proc, void* userData, std::chrono::nanoseconds interval,
              std::shared_ptr<CFRunLoop> loop);
    bool IsAlive() const { return mAlive.load(std::memory_order_acquire); }
    // noErr, -50 (not alive, invalid key) or -108 (table full). A key and object
    // subscribed before (even if removed since) reuse their entry.
    OSStatus Subscribe(const SubscriptionKey& key, void* object);
    // noErr, or -50 (not alive, no such active subscription).
    OSStatus Unsubscribe(const SubscriptionKey& key, void* object);
    // Stops all deliveries and returns the listener to the pool; from inside one of
    // its own callbacks the return happens when that delivery ends. -50 when not alive.
    OSStatus Dispose();
    UInt64 OverflowCount() const { return mOverflowCount.load(std::memory_order_relaxed); }

    // Poster side (any thread; lock-free, allocation-free).
    void Post(const SubscriptionKey& key, const Listener* sender, void* senderObject, float value,
              UInt64 hostTime);

    // Run-loop side.
    UInt64 Generation() const override { return mGeneration.load(std::memory_order_acquire); }
    std::size_t DeliverPending(const RunLoopImpl& loop, UInt64 generation, bool honourIntervals,
                               std::chrono::steady_clock::time_point now) override;

private:
    static constexpr std::size_t kHashSize = 2 * kMaxSubscriptions;
    static_assert((kHashSize & (kHashSize - 1)) == 0, "the hash is masked, not divided");

    static std::size_t HashOf(const SubscriptionKey& key);
    std::int32_t Find(const SubscriptionKey& key, void* object) const;
    void Offer(const SubscriptionKey& key, const Listener* sender, void* senderObject, float value,
               UInt64 now);
    bool HasPending() const;
    void Call(const Subscription& s, UInt64 hostTime, float value);
    std::size_t Deliver();
    std::shared_ptr<CFRunLoop> Release();

    // Life cycle.
    std::atomic<bool> mInUse{false};
    std::atomic<bool> mAlive{false};
    std::atomic<int> mPosters{0};
    std::atomic<UInt64> mGeneration{0}; // moves on at every Release

    // Configuration (written before `alive` is set).
    AUEventListenerProc mProc = nullptr;
    void* mUserData = nullptr;
    std::chrono::nanoseconds mInterval{0};
    std::shared_ptr<CFRunLoop> mLoop;

    // Subscriptions.
    std::mutex mSubMutex;
    std::array<Subscription, kMaxSubscriptions> mSubs;
    std::atomic<UInt32> mSubCount{0};
    std::array<std::atomic<std::int32_t>, kHashSize> mHash;

    // Events.
    LockFreeQueue<QueuedEvent, kEventQueueCapacity> mQueue;
    std::atomic<bool> mRescan{false};
    std::atomic<UInt64> mOverflowCount{0};

    // Delivery.
    std::mutex mDeliverMutex;
    std::chrono::steady_clock::time_point mLastDelivery{};
    bool mDisposeDeferred = false;
};

} // namespace zkfw
