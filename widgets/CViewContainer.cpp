#include "widgets/CViewContainer.h"

#include "widgets/CFrame.h"

#include <algorithm>

CViewContainer::CViewContainer(const CRect& size_, CFrame* frame, CBitmap* background)
    : CView(size_) {
    pParentFrame = frame;
    pBackground = background;
}

CViewContainer::~CViewContainer() {
    removeAll();
}

CPoint CViewContainer::childOrigin() const {
    // The frame is the root: its rectangle is the window, children use frame coordinates.
    return pParentView ? size.topLeft() : CPoint(0, 0);
}

bool CViewContainer::addView(CView* view) {
    return addView(std::unique_ptr<CView>(view));
}

bool CViewContainer::addView(CView* view, const CRect& area, bool mouseEnabled) {
    if (!addView(view)) {
        return false;
    }
    view->setMouseableArea(area);
    view->setMouseEnabled(mouseEnabled);
    return true;
}

bool CViewContainer::addView(std::unique_ptr<CView> view) {
    if (!view) {
        return false;
    }
    CView* raw = view.get();
    children.push_back(std::move(view));
    raw->attached(this, pParentFrame);
    return true;
}

std::unique_ptr<CView> CViewContainer::releaseView(CView* view) {
    auto it = std::find_if(children.begin(), children.end(),
                           [view](const auto& child) { return child.get() == view; });
    if (it == children.end()) {
        return nullptr;
    }
    std::unique_ptr<CView> owned = std::move(*it);
    children.erase(it);
    owned->removed();
    setDirty();
    return owned;
}

bool CViewContainer::removeView(CView* view) {
    return releaseView(view) != nullptr;
}

void CViewContainer::removeAll() {
    // Children leave one by one so that the frame can forget focus and capture.
    while (!children.empty()) {
        std::unique_ptr<CView> last = std::move(children.back());
        children.pop_back();
        last->removed();
    }
}

bool CViewContainer::isChild(const CView* view) const {
    return std::any_of(children.begin(), children.end(),
                       [view](const auto& child) { return child.get() == view; });
}

bool CViewContainer::isDescendant(const CView* view) const {
    for (const auto& child : children) {
        if (child.get() == view) {
            return true;
        }
        if (child->isContainer() &&
            static_cast<const CViewContainer*>(child.get())->isDescendant(view)) {
            return true;
        }
    }
    return false;
}

CView* CViewContainer::getView(int index) const {
    if (index < 0 || index >= getNbViews()) {
        return nullptr;
    }
    return children[static_cast<size_t>(index)].get();
}

void CViewContainer::setBackgroundColor(const CColor& color) {
    backgroundColor = color;
    drawBackgroundColor = true;
    setDirty();
}

void CViewContainer::drawBackgroundRect(CDrawContext* context, const CRect& rect) {
    // rect is in the container's own (child) coordinates.
    const CRect own(0, 0, size.width(), size.height());
    CRect area = rect;
    area.bound(own);
    if (area.isEmpty()) {
        return;
    }
    if (drawBackgroundColor && !bTransparencyEnabled) {
        context->setFillColor(backgroundColor);
        context->fillRect(area);
    }
    if (pBackground) {
        const CPoint offset(area.left, area.top);
        if (bTransparencyEnabled) {
            pBackground->drawTransparent(context, area, offset);
        } else {
            pBackground->draw(context, area, offset);
        }
    }
}

void CViewContainer::draw(CDrawContext* context) {
    drawRect(context, size);
}

void CViewContainer::drawRect(CDrawContext* context, const CRect& updateRect) {
    if (!bVisible) {
        return;
    }
    const CPoint origin = childOrigin();
    CRect local = updateRect;
    local.offset(-origin.h, -origin.v);
    context->saveState();
    context->translate(origin);
    context->intersectClipRect(CRect(local).bound(CRect(0, 0, size.width(), size.height())));
    drawBackgroundRect(context, local);
    for (const auto& child : children) {
        if (child->isVisible() && child->getViewSize().rectOverlap(local)) {
            child->drawRect(context, local);
        }
    }
    context->restoreState();
    bDirty = false;
}

CMouseEventResult CViewContainer::onMouseDown(CPoint& where, const long& buttons) {
    const CPoint origin = childOrigin();
    for (auto it = children.rbegin(); it != children.rend(); ++it) {
        CView* child = it->get();
        CPoint local(where.h - origin.h, where.v - origin.v);
        if (!child->getMouseEnabled() || !child->hitTest(local, buttons)) {
            continue;
        }
        const CMouseEventResult result = child->onMouseDown(local, buttons);
        if (result == kMouseEventNotHandled) {
            continue;
        }
        if (result == kMouseEventHandled && !child->isContainer() && pParentFrame) {
            pParentFrame->captureMouse(child);
        }
        return result;
    }
    return kMouseEventNotHandled;
}

bool CViewContainer::onWheel(const CPoint& where, float distance, const long& buttons) {
    const CPoint origin = childOrigin();
    const CPoint local(where.h - origin.h, where.v - origin.v);
    for (auto it = children.rbegin(); it != children.rend(); ++it) {
        CView* child = it->get();
        if (child->getMouseEnabled() && child->hitTest(local, buttons) &&
            child->onWheel(local, distance, buttons)) {
            return true;
        }
    }
    return false;
}

bool CViewContainer::isDirty() const {
    if (bDirty) {
        return true;
    }
    return std::any_of(children.begin(), children.end(),
                       [](const auto& child) { return child->isVisible() && child->isDirty(); });
}

void CViewContainer::setDirty(bool val) {
    bDirty = val;
    if (!val) {
        for (const auto& child : children) {
            child->setDirty(false);
        }
    }
}

void CViewContainer::attached(CView* parent, CFrame* frame) {
    CView::attached(parent, frame);
    for (const auto& child : children) {
        child->attached(this, frame);
    }
}

void CViewContainer::removed() {
    for (const auto& child : children) {
        child->removed();
    }
    CView::removed();
}

void CViewContainer::collectDirtyRects(CRect& region, CPoint origin) const {
    if (!bVisible) {
        return;
    }
    if (bDirty) {
        CRect r(0, 0, size.width(), size.height());
        const CPoint own = pParentView ? CPoint(origin.h + size.left, origin.v + size.top) : origin;
        r.offset(own.h, own.v);
        region.unite(r);
        return;
    }
    const CPoint inner = pParentView ? CPoint(origin.h + size.left, origin.v + size.top) : origin;
    for (const auto& child : children) {
        if (!child->isVisible()) {
            continue;
        }
        if (child->isContainer()) {
            static_cast<const CViewContainer*>(child.get())->collectDirtyRects(region, inner);
        } else if (child->isDirty()) {
            CRect r = child->getViewSize();
            r.offset(inner.h, inner.v);
            region.unite(r);
        }
    }
}
