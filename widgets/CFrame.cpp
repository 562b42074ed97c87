#include "widgets/CFrame.h"

#include "widgets/AEffGUIEditor.h"

#include <chrono>
#include <cstdlib>

namespace {

constexpr long kButtonMask = kLButton | kMButton | kRButton;

double SteadyNowMs() {
    using namespace std::chrono;
    return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

CFrame::CFrame(const CRect& size_, void* window, AEffGUIEditor* editor)
    : CViewContainer(CRect(0, 0, size_.width(), size_.height()), nullptr), systemWindow(window),
      pEditor(editor) {
    pParentFrame = this;
}

CFrame::~CFrame() {
    pFocusView = nullptr;
    pModalView = nullptr;
    pMouseCaptureView = nullptr;
    removeAll();
    pendingDelete.clear();
    pParentFrame = nullptr;
}

void CFrame::collectGarbage() {
    pendingDelete.clear();
}

void CFrame::onViewRemoved(CView* view) {
    if (view == pFocusView) {
        pFocusView = nullptr;
    }
    if (view == pModalView) {
        pModalView = nullptr;
    }
    if (view == pMouseCaptureView) {
        pMouseCaptureView = nullptr;
    }
}

void CFrame::removeViewDeferred(CView* view) {
    if (view == nullptr) {
        return;
    }
    auto* parent = dynamic_cast<CViewContainer*>(view->getParentView());
    if (parent == nullptr) {
        return;
    }
    if (std::unique_ptr<CView> owned = parent->releaseView(view)) {
        pendingDelete.push_back(std::move(owned));
    }
}

bool CFrame::dispatchMouseDown(CPoint where, long buttons, double timeMs) {
    collectGarbage();
    const double now = timeMs < 0.0 ? SteadyNowMs() : timeMs;
    const long button = buttons & kButtonMask;
    doubleClick = button != 0 && button == lastDownButton &&
                  now - lastDownTime <= doubleClickTime &&
                  std::abs(where.h - lastDownPoint.h) <= doubleClickDistance &&
                  std::abs(where.v - lastDownPoint.v) <= doubleClickDistance;
    // A third press starts a new pair rather than making another double click.
    lastDownTime = doubleClick ? -1e9 : now;
    lastDownPoint = where;
    lastDownButton = button;
    if (doubleClick) {
        buttons |= kDoubleClick;
    }
    currentButtons = buttons;
    pMouseCaptureView = nullptr;

    // Pressing outside the focus view ends its keyboard session (a text entry commits).
    if (pFocusView) {
        CRect focusRect = pFocusView->getViewSize();
        const CPoint origin = pFocusView->getParentOrigin();
        focusRect.offset(origin.h, origin.v);
        if (!focusRect.pointInside(where)) {
            setFocusView(nullptr);
        }
    }

    CMouseEventResult result = kMouseEventNotHandled;
    if (pModalView) {
        CView* modal = pModalView;
        CPoint local = modal->frameToLocal(where);
        if (modal->getMouseEnabled() && modal->hitTest(local, buttons)) {
            result = modal->onMouseDown(local, buttons);
            if (result == kMouseEventHandled && !modal->isContainer()) {
                pMouseCaptureView = modal;
            }
        }
        return true; // nothing beside the modal view reacts while it is shown
    }
    result = CViewContainer::onMouseDown(where, buttons);
    if (result != kMouseEventHandled) {
        pMouseCaptureView = nullptr;
    }
    return result != kMouseEventNotHandled;
}

bool CFrame::dispatchMouseMoved(CPoint where, long buttons) {
    collectGarbage();
    currentButtons = buttons;
    CView* target = pMouseCaptureView ? pMouseCaptureView : pModalView;
    if (target == nullptr) {
        return false;
    }
    CPoint local = target->frameToLocal(where);
    return target->onMouseMoved(local, buttons) != kMouseEventNotHandled;
}

bool CFrame::dispatchMouseUp(CPoint where, long buttons) {
    collectGarbage();
    currentButtons = buttons;
    CView* target = pMouseCaptureView;
    pMouseCaptureView = nullptr;
    if (target == nullptr) {
        return false;
    }
    CPoint local = target->frameToLocal(where);
    return target->onMouseUp(local, buttons) != kMouseEventNotHandled;
}

bool CFrame::dispatchWheel(CPoint where, float distance, long buttons) {
    collectGarbage();
    currentButtons = buttons;
    if (pModalView) {
        const CPoint local = pModalView->frameToLocal(where);
        return pModalView->hitTest(local, buttons) && pModalView->onWheel(local, distance, buttons);
    }
    return CViewContainer::onWheel(where, distance, buttons);
}

bool CFrame::dispatchKeyDown(VstKeyCode keyCode) {
    collectGarbage();
    if (pFocusView && pFocusView->onKeyDown(keyCode) != -1) {
        return true;
    }
    return pModalView && pModalView != pFocusView && pModalView->onKeyDown(keyCode) != -1;
}

bool CFrame::dispatchKeyUp(VstKeyCode keyCode) {
    collectGarbage();
    return pFocusView && pFocusView->onKeyUp(keyCode) != -1;
}

void CFrame::draw(CDrawContext* context) {
    collectGarbage();
    context->saveState();
    context->intersectClipRect(size);
    CViewContainer::drawRect(context, size);
    context->restoreState();
}

CRect CFrame::getDirtyRegion() const {
    CRect region;
    collectDirtyRects(region, CPoint(0, 0));
    region.bound(size);
    return region;
}

CRect CFrame::redrawDirty(CDrawContext* context) {
    const CRect region = getDirtyRegion();
    if (!region.isEmpty()) {
        context->saveState();
        context->intersectClipRect(region);
        CViewContainer::drawRect(context, region);
        context->restoreState();
    }
    return region;
}

void CFrame::setInvalidateCallback(std::function<void(const CRect&)> callback) {
    invalidate = std::move(callback);
}

void CFrame::idle() {
    collectGarbage();
    if (!invalidate) {
        return;
    }
    const CRect region = getDirtyRegion();
    if (!region.isEmpty()) {
        invalidate(region);
    }
}

void CFrame::doIdleStuff() {
    if (pEditor) {
        pEditor->doIdleStuff();
    } else {
        idle();
    }
}

bool CFrame::setSize(CCoord width, CCoord height) {
    if (width <= 0 || height <= 0) {
        return false;
    }
    size = CRect(0, 0, width, height);
    mouseableArea = size;
    setDirty();
    return true;
}

void CFrame::setFocusView(CView* view) {
    if (view == pFocusView) {
        return;
    }
    CView* old = pFocusView;
    pFocusView = view;
    if (old) {
        old->looseFocus();
    }
    // looseFocus may have moved the focus again; only a still-current view takes it.
    if (view && pFocusView == view) {
        view->takeFocus();
    }
}

bool CFrame::setModalView(CView* view) {
    if (view != nullptr && pModalView != nullptr && view != pModalView) {
        return false; // one modal view at a time
    }
    pModalView = view;
    return true;
}

int CFrame::getKnobMode() const {
    return pEditor ? pEditor->getKnobMode() : knobMode;
}

void CFrame::setKnobMode(int mode) {
    if (pEditor) {
        pEditor->setKnobMode(mode);
    } else {
        knobMode = mode;
    }
}
