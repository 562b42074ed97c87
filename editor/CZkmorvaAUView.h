#pragma once

#include "editor/CZkmorvaEditor.h"
#include "framework/AUEvents.h"
#include "framework/RunLoop.h"

#include "widgets/CDrawContext.h"

#include <cairo.h>

#include <functional>
#include <memory>

// The host-side glue of an editor: creates the editor on a unit handle, holds
// its frame, ticks it at 24 Hz and tells it about parameter changes and the
// unit's auto-listen state (property 65537).
//
// Everything runs on the UI thread. The view's listener lives on a pumped run
// loop of its own that each tick pumps, so a change made anywhere (automation,
// the editor itself, the unit) reaches the controls on the next tick; value
// changes of one parameter between two ticks arrive once, with the last value.
//
// A platform adapter (the plug-in UI) creates the view with CreateUI, calls Tick
// (or TickIfDue from an idle callback of any rate), draws the frame into its
// cairo_t with Draw, feeds mouse and key events to the frame, and follows the
// size through the resize callback.
class CZkmorvaAUView {
public:
    static constexpr double kTimerInterval = 1.0 / 24.0; // seconds
    static constexpr double kTimerDelay = 1.0;           // before the first tick
    static constexpr Float32 kNotificationInterval = 0.05f;

    using ResizeCallback = std::function<void(CCoord width, CCoord height)>;

    // pane: the host's window handle, handed to the editor's open (may be null).
    explicit CZkmorvaAUView(AudioUnit unit, void* pane = nullptr);
    virtual ~CZkmorvaAUView();
    CZkmorvaAUView(const CZkmorvaAUView&) = delete;
    CZkmorvaAUView& operator=(const CZkmorvaAUView&) = delete;

    // Builds the editor and its frame and subscribes to the unit's changes.
    // noErr also when no listener could be made (the editor then only polls);
    // without a unit nothing is built.
    OSStatus CreateUI(float x = 0.f, float y = 0.f);

    // One timer tick: delivers pending changes, runs the editor's idle work (at
    // most every 100 ms: meters, sample rate), and reports a changed frame size.
    void RespondToEventTimer();
    void Tick() { RespondToEventTimer(); }
    // For an idle callback of any rate: ticks when the timer is due (first after
    // kTimerDelay, then every kTimerInterval). Returns whether it ticked.
    bool TickIfDue(double nowSeconds);

    // Pushes one parameter's current value into the editor.
    void SetParameterInEditor(AudioUnitParameterID parameterID);
    // Pushes the unit's auto-listen state into the editor.
    void DrawAutoListen();

    CZkmorvaEditor* GetEditor() const { return editor.get(); }
    CFrame* GetFrame() const { return editor ? editor->getFrame() : nullptr; }
    AudioUnit GetEditedUnit() const { return unit; }
    bool HasListener() const { return listener != nullptr; }
    // The UI run loop the listener is called on (pumped by each tick).
    const std::shared_ptr<CFRunLoop>& GetRunLoop() const { return loop; }

    // The frame's size (0 x 0 before CreateUI) and the host's hook to follow it:
    // called from CreateUI and from the tick that sees the frame change size.
    CCoord GetWidth() const { return width; }
    CCoord GetHeight() const { return height; }
    void SetResizeCallback(ResizeCallback callback) { onResize = std::move(callback); }

    // Drawing for the adapter: the whole frame into cr at a device scale (1, 1.5,
    // 2), or only what changed since the last draw. The adapter learns what to
    // repaint through the frame's invalidate callback (CFrame::setInvalidateCallback).
    void Draw(cairo_t* cr, double scale = 1.0);
    CRect DrawDirty(cairo_t* cr, double scale = 1.0);
    // The whole frame as a picture at a device scale: its width x scale by its
    // height x scale pixels, drawn as into a window (screenshots, tests).
    std::unique_ptr<COffscreenContext> Picture(double scale = 1.0);

    // Input for the adapter, in frame pixels; buttons are the toolkit's flags.
    bool MouseDown(CPoint where, long buttons, double timeMs = -1.0);
    bool MouseMoved(CPoint where, long buttons);
    bool MouseUp(CPoint where, long buttons);
    bool Wheel(CPoint where, float distance, long buttons);
    bool KeyDown(VstKeyCode key);

    // The dispatcher both view components' listener callbacks forward to.
    static void Dispatch(void* refCon, void* object, const AudioUnitEvent* event, UInt64 hostTime,
                         AudioUnitParameterValue value);

protected:
    virtual std::unique_ptr<CZkmorvaEditor> CreateEditor(AudioUnit unit) = 0;
    // The editor's DrawAutoListen.
    virtual void ShowAutoListen(bool on, int band) = 0;
    // Parameters 0..LastListenedParameter() are listened to; the ones above
    // (meters, panel state) are not: the editor polls the meters itself.
    virtual AudioUnitParameterID LastListenedParameter() const = 0;
    virtual AUEventListenerProc ListenerProc() const = 0;

private:
    void CreateListener();
    void FollowFrameSize();

    AudioUnit unit;
    void* pane;
    std::unique_ptr<CZkmorvaEditor> editor;
    std::shared_ptr<CFRunLoop> loop;
    AUEventListenerRef listener = nullptr;
    CCoord width = 0;
    CCoord height = 0;
    ResizeCallback onResize;
    double nextTick = -1.0;
};
