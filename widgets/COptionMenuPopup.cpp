#include "widgets/COptionMenuPopup.h"

#include "widgets/COptionMenu.h"

namespace {
constexpr CColor kListColor{34, 35, 38, 255};
constexpr CColor kListBorder{120, 122, 128, 255};
constexpr CColor kHighlightColor{226, 150, 40, 255};
constexpr CColor kTextColor{230, 230, 230, 255};
constexpr CColor kHighlightTextColor{20, 20, 20, 255};
constexpr CColor kShadowColor{0, 0, 0, 110};
} // namespace

COptionMenuPopup::COptionMenuPopup(const CRect& frameSize, COptionMenu* menu_, const CRect& list,
                                   CCoord height)
    : CView(frameSize), menu(menu_), listRect(list), entryHeight(height),
      highlighted(menu_ ? menu_->getCurrent() : -1) {
    bWantsFocus = true;
}

CRect COptionMenuPopup::entryRect(long index) const {
    CRect r(listRect.left + 1, listRect.top + 1 + static_cast<CCoord>(index) * entryHeight,
            listRect.right - 1, 0);
    return r.setHeight(entryHeight);
}

long COptionMenuPopup::entryAt(const CPoint& where) const {
    if (!menu || !listRect.pointInside(where) || entryHeight <= 0) {
        return -1;
    }
    const long index = (where.v - listRect.top - 1) / entryHeight;
    return (index >= 0 && index < menu->getNbEntries()) ? index : -1;
}

void COptionMenuPopup::draw(CDrawContext* context) {
    if (!menu) {
        return;
    }
    CRect shadow = listRect;
    shadow.offset(2, 2);
    context->setFillColor(kShadowColor);
    context->fillRect(shadow);
    context->setFillColor(kListColor);
    context->setFrameColor(kListBorder);
    context->setLineWidth(1);
    context->setLineStyle(kLineSolid);
    context->setDrawMode(kCopyMode);
    context->drawRect(listRect, kDrawFilledAndStroked);
    context->setFont(menu->getFont());
    const long current = menu->getCurrent();
    for (long i = 0; i < menu->getNbEntries(); ++i) {
        const CRect r = entryRect(i);
        const bool lit = i == highlighted;
        if (lit) {
            context->setFillColor(kHighlightColor);
            context->fillRect(r);
        }
        context->setFontColor(lit ? kHighlightTextColor : kTextColor);
        if (i == current) {
            context->drawString("\xe2\x80\xa2", CRect(r.left, r.top, r.left + 12, r.bottom));
        }
        CRect textRect = r;
        textRect.left += 14;
        context->drawString(menu->getEntry(i), textRect, false, kLeftText);
    }
    setDirty(false);
}

void COptionMenuPopup::choose(long index) {
    COptionMenu* owner = menu;
    menu = nullptr;
    if (owner) {
        owner->selectEntry(index); // closes this pop-up (deferred deletion)
    }
}

CMouseEventResult COptionMenuPopup::onMouseDown(CPoint& where, const long& buttons) {
    const long index = entryAt(where);
    if (index < 0 || !(buttons & kLButton)) {
        if (menu) {
            menu->closePopup();
        }
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    highlighted = index;
    pressed = true;
    setDirty();
    return kMouseEventHandled;
}

CMouseEventResult COptionMenuPopup::onMouseMoved(CPoint& where, const long&) {
    const long index = entryAt(where);
    if (index != highlighted && (index >= 0 || pressed)) {
        highlighted = index;
        setDirty();
    }
    return kMouseEventHandled;
}

CMouseEventResult COptionMenuPopup::onMouseUp(CPoint& where, const long&) {
    if (!pressed) {
        return kMouseEventNotHandled;
    }
    pressed = false;
    const long index = entryAt(where);
    if (index >= 0) {
        choose(index);
    }
    return kMouseEventHandled;
}

long COptionMenuPopup::onKeyDown(VstKeyCode& key) {
    if (!menu) {
        return -1;
    }
    switch (key.virt) {
    case VKEY_UP:
        highlighted = std::max(0L, highlighted - 1);
        break;
    case VKEY_DOWN:
        highlighted = std::min(menu->getNbEntries() - 1, highlighted + 1);
        break;
    case VKEY_RETURN:
    case VKEY_ENTER:
        choose(highlighted);
        return 1;
    case VKEY_ESCAPE:
        menu->closePopup();
        return 1;
    default:
        return -1;
    }
    setDirty();
    return 1;
}

COptionMenuPopup::~COptionMenuPopup() {
    if (menu) {
        menu->popupGone(this);
    }
}
