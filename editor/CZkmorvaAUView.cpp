#include "editor/CZkmorvaAUView.h"

#include "editor/SpectrumPanel.h"
#include "framework/AUBase.h"
#include "resources/SkinTable.h"
#include "units/ZkmorvaAU.h"
#include "widgets/CDrawContext.h"

#include <algorithm>

CZkmorvaAUView::CZkmorvaAUView(AudioUnit unit_, void* pane_)
    : unit(unit_), pane(pane_), loop(CFRunLoop::CreatePumped()) {}

CZkmorvaAUView::~CZkmorvaAUView() {
    if (listener != nullptr) {
        AUListenerDispose(listener);
        listener = nullptr;
    }
    editor.reset(); // its close releases the frame
}

OSStatus CZkmorvaAUView::CreateUI(float, float) {
    if (unit == nullptr || editor) {
        return noErr;
    }
    skin::installSkin();
    editor = CreateEditor(unit);
    editor->open(pane);
    FollowFrameSize();
    if (CFrame* frame = GetFrame()) {
        frame->setVisible(true);
        frame->setDirty();
    }
    nextTick = -1.0;
    CreateListener();
    return noErr;
}

void CZkmorvaAUView::CreateListener() {
    if (AUEventListenerCreate(ListenerProc(), this, loop.get(), kCFRunLoopDefaultMode,
                              kNotificationInterval, kNotificationInterval, &listener) != noErr) {
        listener = nullptr;
        return;
    }
    AudioUnitEvent event;
    event.mEventType = kAudioUnitEvent_ParameterValueChange;
    for (AudioUnitParameterID id = 0; id <= LastListenedParameter(); ++id) {
        event.mArgument.mParameter = {unit, id, kAudioUnitScope_Global, 0};
        AUEventListenerAddEventType(listener, nullptr, &event);
    }
    event.mEventType = kAudioUnitEvent_PropertyChange;
    event.mArgument.mProperty = {unit, CZkmorvaAU::kAutoListenDisplayProperty,
                                 kAudioUnitScope_Global, 0};
    AUEventListenerAddEventType(listener, nullptr, &event);
}

void CZkmorvaAUView::Dispatch(void* refCon, void* object, const AudioUnitEvent* event, UInt64,
                              AudioUnitParameterValue) {
    (void)object; // subscribed without an object: every event of ours carries null
    auto* view = static_cast<CZkmorvaAUView*>(refCon);
    if (view == nullptr || event == nullptr) {
        return;
    }
    switch (event->mEventType) {
    case kAudioUnitEvent_ParameterValueChange:
        view->SetParameterInEditor(event->mArgument.mParameter.mParameterID);
        break;
    case kAudioUnitEvent_PropertyChange:
        if (event->mArgument.mProperty.mPropertyID == CZkmorvaAU::kAutoListenDisplayProperty) {
            view->DrawAutoListen();
        }
        break;
    default:
        break;
    }
}

void CZkmorvaAUView::SetParameterInEditor(AudioUnitParameterID id) {
    if (!editor) {
        return;
    }
    AudioUnitParameterValue value = 0.f;
    if (AudioUnitGetParameter(unit, id, kAudioUnitScope_Global, 0, &value) != noErr) {
        return;
    }
    const auto tag = static_cast<long>(id);
    editor->setParameter(tag, editor->ConvertToVSTValue(value, tag));
}

void CZkmorvaAUView::DrawAutoListen() {
    if (!editor) {
        return;
    }
    CZkmorvaAU::AutoListenDisplay state{};
    UInt32 size = sizeof state;
    if (AudioUnitGetProperty(unit, CZkmorvaAU::kAutoListenDisplayProperty, kAudioUnitScope_Global,
                             0, &state, &size) != noErr) {
        return;
    }
    ShowAutoListen(state.on != 0, static_cast<int>(state.parameterId));
}

void CZkmorvaAUView::RespondToEventTimer() {
    if (!editor) {
        return;
    }
    loop->Pump();
    editor->doIdleStuff();
    FollowFrameSize();
    if (CFrame* frame = GetFrame()) {
        frame->setVisible(true);
        frame->idle(); // asks the adapter to repaint what changed
    }
}

bool CZkmorvaAUView::TickIfDue(double now) {
    if (!editor) {
        return false;
    }
    // The analyser keeps its own frame rate, about 30 per second, and its frames
    // are shown as they come rather than at the next tick.
    if (auto* analyser = editor->getSpectrum(); analyser != nullptr && analyser->Animate(now)) {
        if (CFrame* frame = GetFrame()) {
            frame->idle();
        }
    }
    if (nextTick < 0.0) {
        nextTick = now + kTimerDelay;
    }
    if (now < nextTick) {
        return false;
    }
    // A late tick does not make up for missed ones.
    nextTick = std::max(nextTick + kTimerInterval, now);
    RespondToEventTimer();
    return true;
}

void CZkmorvaAUView::FollowFrameSize() {
    const CFrame* frame = GetFrame();
    if (frame == nullptr) {
        return;
    }
    const CCoord w = frame->getWidth();
    const CCoord h = frame->getHeight();
    if (w == width && h == height) {
        return;
    }
    width = w;
    height = h;
    if (onResize) {
        onResize(width, height);
    }
}

void CZkmorvaAUView::Draw(cairo_t* cr, double scale) {
    if (CFrame* frame = GetFrame(); frame != nullptr && cr != nullptr) {
        CDrawContext context(cr, scale);
        frame->draw(&context);
    }
}

std::unique_ptr<COffscreenContext> CZkmorvaAUView::Picture(double scale) {
    const CFrame* frame = GetFrame();
    auto image = std::make_unique<COffscreenContext>(frame ? frame->getWidth() : 0,
                                                     frame ? frame->getHeight() : 0, scale);
    // The image's own context has its scale applied already; Draw applies it
    // again unless it gets device pixels, as a window's cairo_t has them.
    cairo_t* cr = image->getCairo();
    cairo_save(cr);
    cairo_identity_matrix(cr);
    Draw(cr, scale);
    cairo_restore(cr);
    return image;
}

CRect CZkmorvaAUView::DrawDirty(cairo_t* cr, double scale) {
    if (CFrame* frame = GetFrame(); frame != nullptr && cr != nullptr) {
        CDrawContext context(cr, scale);
        return frame->redrawDirty(&context);
    }
    return {};
}

bool CZkmorvaAUView::MouseDown(CPoint where, long buttons, double timeMs) {
    CFrame* frame = GetFrame();
    return frame != nullptr && frame->dispatchMouseDown(where, buttons, timeMs);
}

bool CZkmorvaAUView::MouseMoved(CPoint where, long buttons) {
    CFrame* frame = GetFrame();
    return frame != nullptr && frame->dispatchMouseMoved(where, buttons);
}

bool CZkmorvaAUView::MouseUp(CPoint where, long buttons) {
    CFrame* frame = GetFrame();
    return frame != nullptr && frame->dispatchMouseUp(where, buttons);
}

bool CZkmorvaAUView::Wheel(CPoint where, float distance, long buttons) {
    CFrame* frame = GetFrame();
    return frame != nullptr && frame->dispatchWheel(where, distance, buttons);
}

bool CZkmorvaAUView::KeyDown(VstKeyCode key) {
    CFrame* frame = GetFrame();
    return frame != nullptr && frame->dispatchKeyDown(key);
}
