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
// - AUEvents.h      AUEventListenerCreate / AddEventType / RemoveEventType /
//                   AUListenerDispose / AUEventListenerNotify / AUParameterSet;
//                   event types 0 value, 1 begin gesture, 2 end gesture, 3 property.
// - RunLoop.h       CFRunLoop::CreateThreaded() / CreatePumped(), Pump(),
//                   CFRunLoopGetCurrent(), ScopedCurrentRunLoop.
// - LockFreeQueue.h bounded lock-free MPSC queue for parameter-thread -> render hand-off.
// - CAAUParameter.h parameter address + info (name, range, default, value strings).
// - SavedState.h    plist XML reader/writer and base64 used by the saved state.

#include "framework/AUBase.h"
#include "framework/AUEvents.h"
#include "framework/CAAUParameter.h"
#include "framework/Component.h"
#include "framework/LockFreeQueue.h"
#include "framework/RunLoop.h"
#include "framework/SavedState.h"
#include "framework/Types.h"
