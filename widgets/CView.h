#pragma once

#include "widgets/CBitmap.h"
#include "widgets/CDrawContext.h"
#include "widgets/CRect.h"
#include "widgets/Events.h"

class CFrame;
class AEffGUIEditor;

// Base of everything shown in a frame. The view's rectangle (size) is in the
// coordinates of its parent container; mouse positions given to a view are in
// the same coordinates. Views draw on demand (draw) and mark themselves dirty when
// their look changes; the frame redraws dirty views.
class CView {
public:
    explicit CView(const CRect& size);
    virtual ~CView();
    CView(const CView&) = delete;
    CView& operator=(const CView&) = delete;

    // Draws the background bitmap (transparently when transparency is on).
    virtual void draw(CDrawContext* context);
    // Redraw limited to updateRect (parent coordinates); plain views draw whole.
    virtual void drawRect(CDrawContext* context, const CRect& updateRect);

    // Mouse: a press arrives as onMouseDown; a view that answers kMouseEventHandled
    // receives the following moves and the release, even outside its rectangle.
    virtual CMouseEventResult onMouseDown(CPoint& where, const long& buttons);
    virtual CMouseEventResult onMouseMoved(CPoint& where, const long& buttons);
    virtual CMouseEventResult onMouseUp(CPoint& where, const long& buttons);
    // Wheel: true when consumed. distance is in notches, positive upwards.
    virtual bool onWheel(const CPoint& where, float distance, const long& buttons);
    // Keys: 1 when consumed, -1 when not.
    virtual long onKeyDown(VstKeyCode& keyCode);
    virtual long onKeyUp(VstKeyCode& keyCode);
    // Called by the frame when the view gains or loses the keyboard focus.
    virtual void takeFocus() {}
    virtual void looseFocus() {}

    virtual bool isDirty() const { return bDirty; }
    virtual void setDirty(bool val = true) { bDirty = val; }
    void invalid() { setDirty(true); }

    virtual void setViewSize(const CRect& rect);
    const CRect& getViewSize() const { return size; }
    void getViewSize(CRect& rect) const { rect = size; }
    CCoord getWidth() const { return size.width(); }
    CCoord getHeight() const { return size.height(); }
    void setMouseableArea(const CRect& rect) { mouseableArea = rect; }
    const CRect& getMouseableArea() const { return mouseableArea; }
    // Whether a press at where (parent coordinates) belongs to this view.
    virtual bool hitTest(const CPoint& where, long buttons = -1) const;

    virtual void setBackground(CBitmap* background);
    CBitmap* getBackground() const { return pBackground; }
    virtual void setTransparency(bool val);
    bool getTransparency() const { return bTransparencyEnabled; }
    virtual void setMouseEnabled(bool enable) { bMouseEnabled = enable; }
    bool getMouseEnabled() const { return bMouseEnabled; }
    void setVisible(bool state);
    bool isVisible() const { return bVisible; }
    void setWantsFocus(bool state) { bWantsFocus = state; }
    bool wantsFocus() const { return bWantsFocus; }

    // Parent links, set by the container that holds the view.
    virtual void attached(CView* parent, CFrame* frame);
    virtual void removed();
    CFrame* getFrame() const { return pParentFrame; }
    CView* getParentView() const { return pParentView; }
    AEffGUIEditor* getEditor() const;
    virtual bool isContainer() const { return false; }

    // Where the origin of this view's coordinates (its parent's) lies in the frame.
    CPoint getParentOrigin() const;
    // A point in frame coordinates converted into this view's coordinates.
    CPoint frameToLocal(const CPoint& where) const;

protected:
    CRect size;
    CRect mouseableArea;
    CFrame* pParentFrame = nullptr;
    CView* pParentView = nullptr;
    CBitmap* pBackground = nullptr; // not owned: bitmaps outlive the views showing them
    bool bDirty = true;
    bool bMouseEnabled = true;
    bool bTransparencyEnabled = false;
    bool bWantsFocus = false;
    bool bVisible = true;
};
