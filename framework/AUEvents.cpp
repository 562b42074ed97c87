// The parameter-event service: the process-wide pool of listeners, posting, and the
// listener calls of AUEvents.h. One listener's own work is EventListener.cpp's;
// AUParameterSet and AUEventListenerNotify, which go through the unit, are
// ParameterEvents.cpp's.
//
// Listeners live in kMaxListeners slots. A slot's Listener is allocated on first use
// and never freed, so a poster may always dereference it; posting walks the slots up
// to the highest one ever used.

#include "framework/AUEvents.h"

#include "framework/EventListener.h"

#include <array>
#include <mutex>

namespace zkfw {

namespace {
// Longer notification intervals are taken as none (deliver at every tick).
constexpr double kMaxIntervalSeconds = 3600.0;

std::mutex gCreateMutex;
std::array<std::atomic<Listener*>, kMaxListeners> gSlots{};
std::atomic<std::size_t> gHighWater{0};

Listener* FromRef(AUEventListenerRef ref) {
    return reinterpret_cast<Listener*>(ref);
}

UInt64 NowNs() {
    return static_cast<UInt64>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                   std::chrono::steady_clock::now().time_since_epoch())
                                   .count());
}

std::chrono::nanoseconds IntervalOf(Float32 seconds) {
    const double s = seconds > 0.0f && seconds < kMaxIntervalSeconds ? seconds : 0.0;
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(s));
}

// A listener from the pool, or null when kMaxListeners are in use.
Listener* ClaimListener() {
    std::lock_guard<std::mutex> g(gCreateMutex);
    for (std::size_t i = 0; i < kMaxListeners; ++i) {
        Listener* p = gSlots[i].load(std::memory_order_acquire);
        if (!p) {
            p = new Listener();
            gSlots[i].store(p, std::memory_order_release);
            if (gHighWater.load(std::memory_order_relaxed) < i + 1) {
                gHighWater.store(i + 1, std::memory_order_release);
            }
        }
        if (p->TryClaim()) {
            return p;
        }
    }
    return nullptr;
}
} // namespace

void PostEvent(AUEventListenerRef sendingListener, void* sendingObject, const AudioUnitEvent& event,
               AudioUnitParameterValue value) {
    const SubscriptionKey k = KeyOf(event);
    if (!k.IsValid()) {
        return;
    }
    const UInt64 now = NowNs();
    const Listener* const sender = FromRef(sendingListener);
    const std::size_t n = gHighWater.load(std::memory_order_acquire);
    for (std::size_t i = 0; i < n; ++i) {
        if (Listener* l = gSlots[i].load(std::memory_order_acquire)) {
            l->Post(k, sender, sendingObject, value, now);
        }
    }
}

} // namespace zkfw

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
    zkfw::Listener* l = zkfw::ClaimListener();
    if (!l) {
        return kAudio_MemFullError;
    }
    l->Open(proc, userData, zkfw::IntervalOf(interval), std::move(loop));
    *outListener = reinterpret_cast<AUEventListenerRef>(l);
    return noErr;
}

OSStatus AUEventListenerAddEventType(AUEventListenerRef listener, void* object,
                                     const AudioUnitEvent* event) {
    zkfw::Listener* l = zkfw::FromRef(listener);
    if (!l || !event) {
        return kAudio_ParamError;
    }
    return l->Subscribe(zkfw::KeyOf(*event), object);
}

OSStatus AUEventListenerRemoveEventType(AUEventListenerRef listener, void* object,
                                        const AudioUnitEvent* event) {
    zkfw::Listener* l = zkfw::FromRef(listener);
    if (!l || !event) {
        return kAudio_ParamError;
    }
    return l->Unsubscribe(zkfw::KeyOf(*event), object);
}

OSStatus AUListenerDispose(AUEventListenerRef listener) {
    zkfw::Listener* l = zkfw::FromRef(listener);
    return l ? l->Dispose() : kAudio_ParamError;
}

UInt64 AUEventListenerGetOverflowCount(AUEventListenerRef listener) {
    zkfw::Listener* l = zkfw::FromRef(listener);
    return l ? l->OverflowCount() : 0;
}
