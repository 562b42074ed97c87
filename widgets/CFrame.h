#pragma once

#include "widgets/CViewContainer.h"

#include <functional>

class AEffGUIEditor;

// The root view of an editor: owns all views, receives the input events of the
// platform (or of a test) and routes them. A press goes to the topmost view under
// the pointer (only inside the modal view while there is one); a view that takes
// it receives the following moves and the release. Keys go to the focus view.
class CFrame : public CViewContainer {
public:
    CFrame(const CRect& size, void* systemWindow = nullptr, AEffGUIEditor* editor = nullptr);
    ~CFrame() override;

    // --- events from the platform adapter (frame coordinates) ---
    // timeMs: event time in milliseconds, for double-click detection; a negative
    // time takes the steady clock. Returns whether a view took the press.
    bool dispatchMouseDown(CPoint where, long buttons, double timeMs = -1.0);
    bool dispatchMouseMoved(CPoint where, long buttons);
    bool dispatchMouseUp(CPoint where, long buttons);
    bool dispatchWheel(CPoint where, float distance, long buttons);
    bool dispatchKeyDown(VstKeyCode keyCode);
    bool dispatchKeyUp(VstKeyCode keyCode);

    // Whether the press being handled is the second of a double click (also set
    // as kDoubleClick in its buttons). Two presses of the same button within
    // doubleClickTime ms and doubleClickDistance px make a double click.
    bool isDoubleClick() const { return doubleClick; }
    void setDoubleClickTime(double ms) { doubleClickTime = ms; }
    // Buttons and modifiers of the latest mouse event.
    long getCurrentMouseButtons() const { return currentButtons; }

    // --- drawing ---
    // Full redraw of the frame.
    void draw(CDrawContext* context) override;
    // Redraws only where views are dirty; returns the area redrawn (empty if none).
    CRect redrawDirty(CDrawContext* context);
    CRect getDirtyRegion() const;
    // The adapter's request for a repaint of an area, asked for by idle().
    void setInvalidateCallback(std::function<void(const CRect&)> callback);
    // Asks the adapter to repaint what is dirty.
    void idle();
    // The editor's idle work (meters, displays), run from mouse loops and timers.
    void doIdleStuff();

    // --- state ---
    bool setSize(CCoord width, CCoord height);
    void setFocusView(CView* view);
    CView* getFocusView() const { return pFocusView; }
    bool setModalView(CView* view);
    CView* getModalView() const { return pModalView; }
    int getKnobMode() const;
    void setKnobMode(int mode);
    AEffGUIEditor* getEditor() const { return pEditor; }
    void* getSystemWindow() const { return systemWindow; }

    // Detaches a view now and destroys it at the next event or idle: for views
    // that close themselves from inside their own event handler.
    void removeViewDeferred(CView* view);

    // Bookkeeping called by views and containers.
    void captureMouse(CView* view) { pMouseCaptureView = view; }
    CView* getMouseCaptureView() const { return pMouseCaptureView; }
    void onViewRemoved(CView* view);

private:
    void collectGarbage();

    void* systemWindow;
    AEffGUIEditor* pEditor;
    CView* pFocusView = nullptr;
    CView* pModalView = nullptr;
    CView* pMouseCaptureView = nullptr;
    int knobMode = kCircularMode;
    long currentButtons = 0;
    bool doubleClick = false;
    double doubleClickTime = 400.0;
    CCoord doubleClickDistance = 4;
    double lastDownTime = -1e9;
    CPoint lastDownPoint;
    long lastDownButton = 0;
    std::function<void(const CRect&)> invalidate;
    std::vector<std::unique_ptr<CView>> pendingDelete;
};
