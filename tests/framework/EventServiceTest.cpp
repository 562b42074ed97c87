#include "GainUnit.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using namespace zktest;
using namespace std::chrono_literals;

struct Record {
    AudioUnitEventType type;
    UInt32 id;
    float value;
    void* object;
    std::thread::id thread;
    UInt64 hostTime;
};

struct Recorder {
    std::mutex mutex;
    std::vector<Record> records;

    static void Callback(void* userData, void* object, const AudioUnitEvent* e, UInt64 hostTime,
                         AudioUnitParameterValue value) {
        auto* self = static_cast<Recorder*>(userData);
        const UInt32 id = e->mEventType == kAudioUnitEvent_PropertyChange
                              ? e->mArgument.mProperty.mPropertyID
                              : e->mArgument.mParameter.mParameterID;
        std::lock_guard<std::mutex> g(self->mutex);
        self->records.push_back(
            {e->mEventType, id, value, object, std::this_thread::get_id(), hostTime});
    }
    std::vector<Record> Take() {
        std::lock_guard<std::mutex> g(mutex);
        return std::exchange(records, {});
    }
    std::size_t Count() {
        std::lock_guard<std::mutex> g(mutex);
        return records.size();
    }
};

AudioUnitEvent ParamEvent(AudioUnit u, AudioUnitEventType type, AudioUnitParameterID id) {
    AudioUnitEvent e;
    e.mEventType = type;
    e.mArgument.mParameter = AudioUnitParameter{u, id, kAudioUnitScope_Global, 0};
    return e;
}

AudioUnitEvent PropEvent(AudioUnit u, AudioUnitPropertyID id) {
    AudioUnitEvent e;
    e.mEventType = kAudioUnitEvent_PropertyChange;
    e.mArgument.mProperty = AudioUnitProperty{u, id, kAudioUnitScope_Global, 0};
    return e;
}

void Set(AudioUnit u, AudioUnitParameterID id, float v, AUEventListenerRef sender = nullptr,
         void* object = nullptr) {
    const AudioUnitParameter p{u, id, kAudioUnitScope_Global, 0};
    ASSERT_EQ(AUParameterSet(sender, object, &p, v, 0), noErr);
}

void Notify(AudioUnit u, AudioUnitEventType type, AudioUnitParameterID id) {
    const AudioUnitEvent e = ParamEvent(u, type, id);
    ASSERT_EQ(AUEventListenerNotify(nullptr, nullptr, &e), noErr);
}

// A recording listener on `loop`, subscribed to every type in `types` of every id.
AUEventListenerRef Listen(Recorder& rec, CFRunLoop* loop, AudioUnit unit,
                          std::initializer_list<AudioUnitEventType> types,
                          std::initializer_list<AudioUnitParameterID> ids, float interval = 0.05f) {
    AUEventListenerRef l = nullptr;
    EXPECT_EQ(AUEventListenerCreate(&Recorder::Callback, &rec, loop, kCFRunLoopDefaultMode,
                                    interval, interval, &l),
              noErr);
    for (AudioUnitEventType t : types) {
        for (AudioUnitParameterID id : ids) {
            const AudioUnitEvent e = ParamEvent(unit, t, id);
            EXPECT_EQ(AUEventListenerAddEventType(l, nullptr, &e), noErr);
        }
    }
    return l;
}

class EventService : public ::testing::Test {
protected:
    void SetUp() override {
        loop = CFRunLoop::CreatePumped();
        listener = Listen(rec, loop.get(), &unit, {}, {});
        ASSERT_NE(listener, nullptr);
    }
    void TearDown() override {
        if (listener) {
            EXPECT_EQ(AUListenerDispose(listener), noErr);
        }
    }
    void Subscribe(AudioUnitEventType type, AudioUnitParameterID id, void* object = nullptr) {
        const AudioUnitEvent e = ParamEvent(&unit, type, id);
        ASSERT_EQ(AUEventListenerAddEventType(listener, object, &e), noErr);
    }

    GainUnit unit{nullptr};
    Recorder rec;
    std::shared_ptr<CFRunLoop> loop;
    AUEventListenerRef listener = nullptr;
};

TEST_F(EventService, ValueChangesCoalesceLastValueWins) {
    Subscribe(kAudioUnitEvent_ParameterValueChange, kGain);
    Subscribe(kAudioUnitEvent_ParameterValueChange, kMix);
    Set(&unit, kGain, -1.0f);
    Set(&unit, kGain, -2.0f);
    Set(&unit, kMix, 10.0f);
    Set(&unit, kGain, -3.0f);
    EXPECT_EQ(rec.Count(), 0u); // nothing before Pump
    EXPECT_EQ(unit.Globals()->GetParameter(kGain), -3.0f);
    EXPECT_EQ(loop->Pump(), 2u);
    auto r = rec.Take();
    ASSERT_EQ(r.size(), 2u);
    EXPECT_EQ(r[0].id, kGain);
    EXPECT_EQ(r[0].value, -3.0f);
    EXPECT_EQ(r[1].id, kMix);
    EXPECT_EQ(r[1].value, 10.0f);
    EXPECT_EQ(r[0].thread, std::this_thread::get_id());
    EXPECT_GT(r[0].hostTime, 0u);
    EXPECT_EQ(loop->Pump(), 0u);

    Set(&unit, kGain, -4.0f);
    loop->Pump();
    r = rec.Take();
    ASSERT_EQ(r.size(), 1u);
    EXPECT_EQ(r[0].value, -4.0f);
}

TEST_F(EventService, GesturesAndPropertiesInOrderNeverMerged) {
    Subscribe(0u, kGain);
    Subscribe(1u, kGain);
    Subscribe(2u, kGain);
    const AudioUnitEvent prop = PropEvent(&unit, 65537);
    ASSERT_EQ(AUEventListenerAddEventType(listener, nullptr, &prop), noErr);

    Notify(&unit, kAudioUnitEvent_BeginParameterChangeGesture, kGain);
    Set(&unit, kGain, -1.0f);
    Set(&unit, kGain, -2.0f);
    Notify(&unit, kAudioUnitEvent_EndParameterChangeGesture, kGain);
    Notify(&unit, kAudioUnitEvent_BeginParameterChangeGesture, kGain);
    Notify(&unit, kAudioUnitEvent_EndParameterChangeGesture, kGain);
    unit.PropertyChanged(65537, kAudioUnitScope_Global, 0);
    unit.PropertyChanged(65537, kAudioUnitScope_Global, 0);
    unit.PropertyChanged(65536, kAudioUnitScope_Global, 0); // not subscribed

    loop->Pump();
    const auto r = rec.Take();
    std::vector<AudioUnitEventType> types;
    for (const Record& x : r) {
        types.push_back(x.type);
    }
    EXPECT_EQ(types, (std::vector<AudioUnitEventType>{1, 0, 2, 1, 2, 3, 3}));
    ASSERT_EQ(r.size(), 7u);
    EXPECT_EQ(r[1].value, -2.0f);
    EXPECT_EQ(r[5].id, 65537u);
}

TEST_F(EventService, AddAndRemoveEventTypeFilter) {
    Subscribe(kAudioUnitEvent_ParameterValueChange, kGain);
    Set(&unit, kMix, 50.0f); // not subscribed
    loop->Pump();
    EXPECT_EQ(rec.Take().size(), 0u);

    Set(&unit, kGain, -5.0f); // queued, then the subscription goes: dropped
    const AudioUnitEvent e = ParamEvent(&unit, kAudioUnitEvent_ParameterValueChange, kGain);
    ASSERT_EQ(AUEventListenerRemoveEventType(listener, nullptr, &e), noErr);
    EXPECT_EQ(AUEventListenerRemoveEventType(listener, nullptr, &e), kAudio_ParamError);
    Set(&unit, kGain, -6.0f);
    loop->Pump();
    EXPECT_EQ(rec.Take().size(), 0u);

    ASSERT_EQ(AUEventListenerAddEventType(listener, nullptr, &e), noErr);
    ASSERT_EQ(AUEventListenerAddEventType(listener, nullptr, &e), noErr); // no duplicate
    Set(&unit, kGain, -7.0f);
    loop->Pump();
    const auto r = rec.Take();
    ASSERT_EQ(r.size(), 1u);
    EXPECT_EQ(r[0].value, -7.0f);

    // Another unit's parameter with the same id is a different subscription.
    GainUnit other(nullptr);
    Set(&other, kGain, -8.0f);
    loop->Pump();
    EXPECT_EQ(rec.Take().size(), 0u);
}

TEST_F(EventService, ObjectIsHandedBackSenderIsSkippedAndNotifyReadsTheStore) {
    int viewA = 0;
    int viewB = 0;
    Subscribe(kAudioUnitEvent_ParameterValueChange, kGain, &viewA);
    Subscribe(kAudioUnitEvent_ParameterValueChange, kGain, &viewB);
    Set(&unit, kGain, -1.0f, listener, &viewA); // sent by (listener, viewA)
    loop->Pump();
    const auto r = rec.Take();
    ASSERT_EQ(r.size(), 1u);
    EXPECT_EQ(r[0].object, &viewB);

    // A notification without a value reports the stored one.
    unit.Globals()->SetParameter(kGain, -33.0f);
    Notify(&unit, kAudioUnitEvent_ParameterValueChange, kGain);
    loop->Pump();
    const auto n = rec.Take();
    ASSERT_EQ(n.size(), 2u);
    EXPECT_EQ(n[0].value, -33.0f);
}

TEST_F(EventService, GestureOverflowIsCountedAndNotLost) {
    Subscribe(kAudioUnitEvent_BeginParameterChangeGesture, kGain);
    Subscribe(kAudioUnitEvent_EndParameterChangeGesture, kGain);
    const std::size_t n = zkfw::kEventQueueCapacity + 100;
    for (std::size_t i = 0; i < n; ++i) {
        Notify(&unit, kAudioUnitEvent_BeginParameterChangeGesture, kGain);
    }
    Notify(&unit, kAudioUnitEvent_EndParameterChangeGesture, kGain); // finds the queue full
    EXPECT_EQ(AUEventListenerGetOverflowCount(listener), 101u);
    loop->Pump();
    const auto r = rec.Take();
    // The queued ones in order, then the overflowed begin (collapsed) and the end.
    ASSERT_EQ(r.size(), zkfw::kEventQueueCapacity + 2);
    EXPECT_EQ(r.back().type, kAudioUnitEvent_EndParameterChangeGesture);
    EXPECT_EQ(r[r.size() - 2].type, kAudioUnitEvent_BeginParameterChangeGesture);
}

TEST_F(EventService, DisposeInsideCallbackAndCascadedPosts) {
    struct Ctx {
        AUEventListenerRef self = nullptr;
        GainUnit* unit = nullptr;
        int calls = 0;
    } ctx;
    ctx.unit = &unit;
    AUEventListenerRef l2 = nullptr;
    ASSERT_EQ(AUEventListenerCreate(
                  [](void* ud, void*, const AudioUnitEvent* e, UInt64, float v) {
                      auto* c = static_cast<Ctx*>(ud);
                      ++c->calls;
                      if (e->mArgument.mParameter.mParameterID == kGain) {
                          // A "link": set another parameter, which this listener also hears.
                          const AudioUnitParameter p{c->unit, kMix, kAudioUnitScope_Global, 0};
                          AUParameterSet(nullptr, nullptr, &p, -v, 0);
                      } else {
                          EXPECT_EQ(AUListenerDispose(c->self), noErr);
                      }
                  },
                  &ctx, loop.get(), kCFRunLoopDefaultMode, 0.05f, 0.05f, &l2),
              noErr);
    ctx.self = l2;
    for (AudioUnitParameterID id : {kGain, kMix}) {
        const AudioUnitEvent e = ParamEvent(&unit, kAudioUnitEvent_ParameterValueChange, id);
        ASSERT_EQ(AUEventListenerAddEventType(l2, nullptr, &e), noErr);
    }
    Set(&unit, kGain, -9.0f);
    loop->Pump(); // gain -> sets mix -> (next round) mix callback disposes the listener
    EXPECT_EQ(ctx.calls, 2);
    EXPECT_EQ(unit.Globals()->GetParameter(kMix), 9.0f);
    Set(&unit, kGain, -1.0f);
    loop->Pump();
    EXPECT_EQ(ctx.calls, 2);
}

TEST(RunLoops, ThreadedLoopDeliversOnItsOwnThread) {
    GainUnit unit(nullptr);
    Recorder rec;
    auto loop = CFRunLoop::CreateThreaded();
    AUEventListenerRef l = Listen(rec, loop.get(), &unit, {0u, 1u, 2u}, {kGain}, 0.1f);
    Notify(&unit, kAudioUnitEvent_BeginParameterChangeGesture, kGain);
    for (int i = 1; i <= 200; ++i) {
        Set(&unit, kGain, -0.1f * float(i));
    }
    Notify(&unit, kAudioUnitEvent_EndParameterChangeGesture, kGain);
    std::vector<Record> got;
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    while (std::chrono::steady_clock::now() < deadline) {
        for (Record& r : rec.Take()) {
            got.push_back(r);
        }
        if (!got.empty() && got.back().type == kAudioUnitEvent_EndParameterChangeGesture) {
            break;
        }
        std::this_thread::sleep_for(2ms);
    }
    EXPECT_EQ(AUListenerDispose(l), noErr);
    ASSERT_GE(got.size(), 3u);
    EXPECT_EQ(got.front().type, kAudioUnitEvent_BeginParameterChangeGesture);
    EXPECT_EQ(got.back().type, kAudioUnitEvent_EndParameterChangeGesture);
    EXPECT_LT(got.size(), 50u); // 200 value changes were coalesced
    EXPECT_EQ(got[got.size() - 2].value, -0.1f * 200.0f);
    for (const Record& r : got) {
        EXPECT_NE(r.thread, std::this_thread::get_id());
    }
    loop->Stop();
}

TEST(RunLoops, CurrentRunLoopAndScopedInstall) {
    CFRunLoopRef own = CFRunLoopGetCurrent();
    ASSERT_NE(own, nullptr);
    EXPECT_FALSE(own->IsThreaded());
    EXPECT_EQ(CFRunLoopGetCurrent(), own);
    auto threaded = CFRunLoop::CreateThreaded();
    {
        ScopedCurrentRunLoop install(threaded);
        EXPECT_EQ(CFRunLoopGetCurrent(), threaded.get());
        // A unit initialising here would attach its listener to the threaded loop.
        GainUnit unit(nullptr);
        Recorder rec;
        AUEventListenerRef l = Listen(rec, CFRunLoopGetCurrent(), &unit, {}, {}, 0.0f);
        const AudioUnitEvent e = PropEvent(&unit, 65537);
        ASSERT_EQ(AUEventListenerAddEventType(l, nullptr, &e), noErr);
        unit.PropertyChanged(65537, kAudioUnitScope_Global, 0);
        const auto deadline = std::chrono::steady_clock::now() + 5s;
        while (rec.Count() == 0 && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(1ms);
        }
        EXPECT_EQ(rec.Count(), 1u);
        EXPECT_EQ(AUListenerDispose(l), noErr);
    }
    EXPECT_EQ(CFRunLoopGetCurrent(), own);
    std::thread other([own] { EXPECT_NE(CFRunLoopGetCurrent(), own); });
    other.join();
}

TEST(RunLoops, DisposedListenersReleaseTheirLoop) {
    GainUnit unit(nullptr);
    Recorder rec;
    std::weak_ptr<CFRunLoop> weak;
    {
        auto loop = CFRunLoop::CreateThreaded();
        weak = loop;
        AUEventListenerRef l =
            Listen(rec, loop.get(), &unit, {kAudioUnitEvent_ParameterValueChange}, {kGain}, 0.0f);
        for (int i = 0; i < 1000; ++i) {
            Set(&unit, kGain, float(i)); // deliveries run while we dispose
        }
        EXPECT_EQ(AUListenerDispose(l), noErr);
        EXPECT_EQ(AUListenerDispose(l), kAudio_ParamError); // twice
        EXPECT_FALSE(weak.expired());                       // still held here
    }
    EXPECT_TRUE(weak.expired()); // the listener no longer holds it: thread joined
    const std::size_t n = rec.Count();
    Set(&unit, kGain, 5.0f);
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(rec.Count(), n);
}

// A callback on a threaded loop disposes its own listener, which held the last
// reference to the loop: the loop thread winds down by itself.
TEST(RunLoops, SelfDisposeOnThreadedLoop) {
    GainUnit unit(nullptr);
    struct Ctx {
        AUEventListenerRef self = nullptr;
        std::atomic<int> calls{0};
    } ctx;
    std::weak_ptr<CFRunLoop> weak;
    {
        auto loop = CFRunLoop::CreateThreaded();
        weak = loop;
        ASSERT_EQ(AUEventListenerCreate(
                      [](void* ud, void*, const AudioUnitEvent*, UInt64, float) {
                          auto* c = static_cast<Ctx*>(ud);
                          c->calls.fetch_add(1);
                          AUListenerDispose(c->self);
                      },
                      &ctx, loop.get(), kCFRunLoopDefaultMode, 0.0f, 0.0f, &ctx.self),
                  noErr);
        const AudioUnitEvent e = ParamEvent(&unit, kAudioUnitEvent_ParameterValueChange, kMix);
        ASSERT_EQ(AUEventListenerAddEventType(ctx.self, nullptr, &e), noErr);
    }
    Set(&unit, kMix, 1.0f);
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    while (!weak.expired() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(ctx.calls.load(), 1);
    std::this_thread::sleep_for(20ms); // let the detached thread finish
}

// Several threads post at once (value changes and gestures) while the owner pumps.
// Run under ThreadSanitizer: no data race, nothing lost, last values win.
TEST(RunLoops, ConcurrentPostingWhilePumping) {
    GainUnit unit(nullptr);
    Recorder rec;
    auto loop = CFRunLoop::CreatePumped();
    AUEventListenerRef l = Listen(rec, loop.get(), &unit, {0u, 1u, 2u}, {kGain, kMode, kMix});
    constexpr int kPerThread = 3000;
    std::atomic<int> running{3};
    std::vector<std::thread> threads;
    for (AudioUnitParameterID id : {kGain, kMode, kMix}) {
        threads.emplace_back([&, id] {
            for (int i = 1; i <= kPerThread; ++i) {
                if (i % 100 == 1) {
                    Notify(&unit, kAudioUnitEvent_BeginParameterChangeGesture, id);
                }
                Set(&unit, id, float(i));
                if (i % 100 == 0) {
                    Notify(&unit, kAudioUnitEvent_EndParameterChangeGesture, id);
                }
            }
            running.fetch_sub(1);
        });
    }
    while (running.load() > 0) {
        loop->Pump();
        std::this_thread::yield();
    }
    for (auto& t : threads) {
        t.join();
    }
    loop->Pump();
    const auto r = rec.Take();
    EXPECT_EQ(AUEventListenerGetOverflowCount(l), 0u);
    EXPECT_EQ(AUListenerDispose(l), noErr);
    // Per parameter: begin and end alternate, none lost, and the last value wins.
    for (AudioUnitParameterID id : {kGain, kMode, kMix}) {
        std::string gestures;
        float last = -1.0f;
        for (const Record& x : r) {
            if (x.id == id && x.type == kAudioUnitEvent_ParameterValueChange) {
                last = x.value;
            } else if (x.id == id) {
                gestures += x.type == kAudioUnitEvent_BeginParameterChangeGesture ? '(' : ')';
            }
        }
        std::string expected;
        for (int g = 0; g < kPerThread / 100; ++g) {
            expected += "()";
        }
        EXPECT_EQ(gestures, expected) << id;
        EXPECT_EQ(last, float(kPerThread)) << id;
    }
}

} // namespace
