#include "widgets/CView.h"

#include "widgets/CFrame.h"

CView::CView(const CRect& size_) : size(size_), mouseableArea(size_) {}

CView::~CView() {
    if (pParentFrame) {
        pParentFrame->onViewRemoved(this);
    }
}

void CView::draw(CDrawContext* context) {
    if (pBackground) {
        if (bTransparencyEnabled) {
            pBackground->drawTransparent(context, size);
        } else {
            pBackground->draw(context, size);
        }
    }
    setDirty(false);
}

void CView::drawRect(CDrawContext* context, const CRect&) {
    draw(context);
}

CMouseEventResult CView::onMouseDown(CPoint&, const long&) {
    return kMouseEventNotHandled;
}

CMouseEventResult CView::onMouseMoved(CPoint&, const long&) {
    return kMouseEventNotHandled;
}

CMouseEventResult CView::onMouseUp(CPoint&, const long&) {
    return kMouseEventNotHandled;
}

bool CView::onWheel(const CPoint&, float, const long&) {
    return false;
}

long CView::onKeyDown(VstKeyCode&) {
    return -1;
}

long CView::onKeyUp(VstKeyCode&) {
    return -1;
}

void CView::setViewSize(const CRect& rect) {
    size = rect;
    mouseableArea = rect;
    setDirty();
}

bool CView::hitTest(const CPoint& where, long) const {
    return bVisible && mouseableArea.pointInside(where);
}

void CView::setBackground(CBitmap* background) {
    pBackground = background;
    setDirty();
}

void CView::setTransparency(bool val) {
    bTransparencyEnabled = val;
    setDirty();
}

void CView::setVisible(bool state) {
    if (bVisible != state) {
        bVisible = state;
        // The area must be redrawn either way; the parent repaints what lies beneath.
        if (pParentView) {
            pParentView->setDirty();
        }
        setDirty();
    }
}

void CView::attached(CView* parent, CFrame* frame) {
    pParentView = parent;
    pParentFrame = frame;
    setDirty();
}

void CView::removed() {
    if (pParentFrame) {
        pParentFrame->onViewRemoved(this);
    }
    pParentView = nullptr;
    pParentFrame = nullptr;
}

AEffGUIEditor* CView::getEditor() const {
    return pParentFrame ? pParentFrame->getEditor() : nullptr;
}

CPoint CView::getParentOrigin() const {
    CPoint origin;
    for (const CView* p = pParentView; p != nullptr; p = p->pParentView) {
        if (p->pParentView != nullptr) { // the frame's own rectangle is its window
            origin.offset(p->size.left, p->size.top);
        }
    }
    return origin;
}

CPoint CView::frameToLocal(const CPoint& where) const {
    const CPoint origin = getParentOrigin();
    return CPoint(where.h - origin.h, where.v - origin.v);
}
