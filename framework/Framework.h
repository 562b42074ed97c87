#pragma once

// Zkmorva host plug-in framework: the umbrella header.
//
// Main entry points
// - Types.h         OSStatus & result codes (-10878 ...), property ids, parameter units
//                   and flags, AudioComponentDescription, AudioBufferList, records.
// - AUBase.h        ComponentBase -> AUBase -> AUEffectBase; AUScope, AUElement
//                   (indexed parameter store of relaxed atomic floats), AUBufferList.
//                   Unit: ctor(AudioComponentInstance) { CreateElements();
//                   Globals()->UseIndexedParameters(n); Globals()->SetParameter(id, def); }
//                   override Initialize/Reset/GetParameterInfo/GetProperty*/
//                   ProcessBufferLists. Host: SetSampleRateAndChannels, DoInitialize,
//                   Render(flags, frames, inputs, outputs), DoReset, DoCleanup,
//                   AudioUnitGet/SetParameter, AudioUnitGet/SetProperty(Info).
//                   Saved state: SaveState() / RestoreState(doc, &error).
// - Component.h     AUComponentEntry<T> (Open/Register), AUComponentRegistry,
//                   AudioUnitPtr (closes with PreDestructor + delete).
// - EventPosting.h  AudioUnitEvent and event types 0 value, 1 begin gesture, 2 end
//                   gesture, 3 property; the posting entry the unit classes use.
// - AUEvents.h      AUEventListenerCreate / AddEventType / RemoveEventType /
//                   AUListenerDispose / AUEventListenerNotify / AUParameterSet.
// - RunLoop.h       CFRunLoop::CreateThreaded() / CreatePumped(), Pump(),
//                   CFRunLoopGetCurrent(), ScopedCurrentRunLoop.
// - LockFreeQueue.h bounded lock-free MPSC queue for parameter-thread -> render hand-off.
// - CAAUParameter.h parameter address + info (name, range, default, value strings).
// - PropertyList.h  plist XML reader/writer of the saved state; Base64.h its <data>.
//
// Dependencies run one way: the unit classes post through EventPosting.h; the event
// service (AUEvents, EventListener) never reaches into the unit classes; run loops
// see listeners only as RunLoopClient.

#include "framework/AUBase.h"
#include "framework/AUEvents.h"
#include "framework/Base64.h"
#include "framework/CAAUParameter.h"
#include "framework/Component.h"
#include "framework/EventPosting.h"
#include "framework/LockFreeQueue.h"
#include "framework/PropertyList.h"
#include "framework/RunLoop.h"
#include "framework/Types.h"
