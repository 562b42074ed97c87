#pragma once

// The parameter-event service: listeners, subscriptions, posting.
//
// A listener (AUEventListenerCreate) belongs to one run loop and is called only there.
// It receives the events it subscribed to (AUEventListenerAddEventType: event type +
// unit + parameter/property id + scope + element + an object pointer that is handed
// back to the callback as `object`).
//
// Posting (AUParameterSet, AUEventListenerNotify, AUBase::PropertyChanged,
// AUBase::RestoreState) never blocks and never allocates: it may run on the audio
// thread. Each listener has a preallocated lock-free queue (kEventQueueCapacity) and a
// fixed subscription table (kMaxSubscriptions).
//
// Delivery rules:
// - Value changes (type 0) of one subscription are coalesced until delivery: the
//   callback is made once, at the queue position of the first change since the last
//   delivery, with the latest value (last value wins). A threaded loop delivers a
//   listener's events at most once per notification interval; a pumped loop on Pump().
// - Gestures (1, 2) and property changes (3) are delivered one by one, in posting
//   order, never merged.
// - Overflow: a gesture/property event that finds the queue full is not lost: its
//   subscription is flagged and the event is delivered at the next delivery, after
//   the queued events (several overflowed events of one subscription then collapse
//   into one). Each such event is counted: AUEventListenerGetOverflowCount.
//   Value changes cannot overflow (at most one queued marker per subscription).
// - The (sendingListener, sendingObject) pair of AUParameterSet/AUEventListenerNotify
//   is not called back (when sendingListener is non-null).
// - The callback's `value` is the value set (AUParameterSet) or, for
//   AUEventListenerNotify, the unit's stored value read when posting; 0 for gestures
//   and property events. hostTime is steady-clock nanoseconds of the (last) posting.
// - Events of a removed subscription that are still queued are dropped.
//
// Listener callbacks run with no framework lock held, except the listener's own
// delivery lock: a callback may post, add/remove subscriptions, create listeners, and
// dispose of listeners (including its own). AUListenerDispose waits for a callback
// of that listener running on another thread to return.

#include "framework/EventPosting.h"
#include "framework/RunLoop.h"

using AUEventListenerProc = void (*)(void* userData, void* object, const AudioUnitEvent* event,
                                     UInt64 hostTime, AudioUnitParameterValue value);

namespace zkfw {
inline constexpr std::size_t kMaxListeners = 256;      // alive at once, process-wide
inline constexpr std::size_t kMaxSubscriptions = 1024; // distinct subscriptions per listener
inline constexpr std::size_t kEventQueueCapacity = 2048;
} // namespace zkfw

// Creates a listener on `runLoop` (null: CFRunLoopGetCurrent()). `interval` (seconds)
// is the coalescing/delivery interval on threaded loops; `granularity` is accepted and
// not otherwise used; `mode` is ignored. Errors: -50 for a null proc or out pointer,
// -108 when kMaxListeners are alive. On error *outListener is null.
OSStatus AUEventListenerCreate(AUEventListenerProc proc, void* userData, CFRunLoopRef runLoop,
                               CFStringRef mode, Float32 interval, Float32 granularity,
                               AUEventListenerRef* outListener);
// Subscribes. Adding an existing subscription again is a no-op. -50 for bad
// arguments (null unit, unknown type), -108 when the listener's table is full.
OSStatus AUEventListenerAddEventType(AUEventListenerRef listener, void* object,
                                     const AudioUnitEvent* event);
// Unsubscribes; -50 when there is no such subscription.
OSStatus AUEventListenerRemoveEventType(AUEventListenerRef listener, void* object,
                                        const AudioUnitEvent* event);
// Stops all deliveries and frees the listener (see above).
OSStatus AUListenerDispose(AUEventListenerRef listener);
// Posts an event to every subscribed listener (see the delivery rules).
OSStatus AUEventListenerNotify(AUEventListenerRef sendingListener, void* sendingObject,
                               const AudioUnitEvent* event);
// Sets the unit's parameter (AUBase::SetParameter) and, when that succeeds, posts a
// value change with `value`. Real-time safe when the unit's SetParameter is.
OSStatus AUParameterSet(AUEventListenerRef sendingListener, void* sendingObject,
                        const AudioUnitParameter* parameter, AudioUnitParameterValue value,
                        UInt32 bufferOffsetInFrames);
// Gesture/property events that overflowed this listener's queue (and were delivered late).
UInt64 AUEventListenerGetOverflowCount(AUEventListenerRef listener);
