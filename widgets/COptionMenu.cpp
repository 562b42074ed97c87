#include "widgets/COptionMenu.h"

#include "widgets/CFrame.h"
#include "widgets/COptionMenuPopup.h"

#include <cmath>
#include <cstring>

namespace {
constexpr CCoord kEntryPadding = 5; // pixels above and below the text of an entry
constexpr CCoord kTextMargin = 14;  // room left of the text for the current-entry mark
} // namespace

COptionMenu::COptionMenu(const CRect& size_, CControlListener* l, long tag_, CBitmap* background,
                         CBitmap* bgClick, long style_)
    : CParamDisplay(size_, background, style_), bgWhenClick(bgClick) {
    listener = l;
    tag = tag_;
    bMouseEnabled = true;
    defaultValue = 0.f;
}

COptionMenu::~COptionMenu() {
    if (popup) {
        popup->menuGone();
        closePopup();
    }
}

bool COptionMenu::addEntry(const char* txt, long index) {
    if (txt == nullptr) {
        return false;
    }
    if (index < 0 || index >= getNbEntries()) {
        entries.emplace_back(txt);
    } else {
        entries.insert(entries.begin() + index, txt);
    }
    vmax = static_cast<float>(std::max(0L, getNbEntries() - 1));
    setDirty();
    return true;
}

bool COptionMenu::removeEntry(long index) {
    if (index < 0 || index >= getNbEntries()) {
        return false;
    }
    entries.erase(entries.begin() + index);
    vmax = static_cast<float>(std::max(0L, getNbEntries() - 1));
    bounceValue();
    setDirty();
    return true;
}

void COptionMenu::removeAllEntry() {
    entries.clear();
    vmax = 0.f;
    value = 0.f;
    setDirty();
}

const char* COptionMenu::getEntry(long index) const {
    if (index < 0 || index >= getNbEntries()) {
        return nullptr;
    }
    return entries[static_cast<size_t>(index)].c_str();
}

bool COptionMenu::getEntry(long index, char* txt) const {
    const char* entry = getEntry(index);
    if (entry == nullptr || txt == nullptr) {
        return false;
    }
    std::strncpy(txt, entry, kParamDisplayTextSize - 1);
    txt[kParamDisplayTextSize - 1] = '\0';
    return true;
}

long COptionMenu::getCurrent() const {
    if (!(value >= 0.f) || entries.empty()) {
        return 0;
    }
    return std::min(static_cast<long>(value + 0.5f), getNbEntries() - 1);
}

bool COptionMenu::setCurrent(long index) {
    if (index < 0 || index >= getNbEntries()) {
        return false;
    }
    setValue(static_cast<float>(index));
    return true;
}

long COptionMenu::getIndex(const char* txt) const {
    for (long i = 0; txt && i < getNbEntries(); ++i) {
        if (entries[static_cast<size_t>(i)] == txt) {
            return i;
        }
    }
    return -1;
}

void COptionMenu::setValue(float val) {
    CParamDisplay::setValue(val);
    setDirty();
}

void COptionMenu::draw(CDrawContext* context) {
    const char* entry = getEntry(getCurrent());
    if (popup && bgWhenClick) {
        CBitmap* normal = pBackground;
        pBackground = bgWhenClick;
        drawText(context, entry ? entry : "");
        pBackground = normal;
    } else {
        drawText(context, entry ? entry : "");
    }
    setDirty(false);
}

void COptionMenu::mouse(CPoint&, long buttons) {
    if (bMouseEnabled && (buttons & kLButton) && !popup) {
        openPopup();
    }
}

bool COptionMenu::openPopup() {
    CFrame* frame = getFrame();
    if (frame == nullptr || entries.empty() || popup) {
        return false;
    }
    // Size the list from the widest entry in the menu's font.
    COffscreenContext measuring(1, 1);
    measuring.setFont(fontID);
    double widest = 0.0;
    for (const std::string& e : entries) {
        widest = std::max(widest, measuring.getStringWidth(e.c_str()));
    }
    const CCoord entryHeight =
        static_cast<CCoord>(std::ceil(FontDescription(fontID).size)) + 2 * kEntryPadding;
    const CCoord width =
        std::max(size.width(), static_cast<CCoord>(std::ceil(widest)) + kTextMargin + 8);
    const CCoord height = entryHeight * getNbEntries() + 2;
    const CPoint origin = getParentOrigin();
    CRect list(size.left + origin.h, size.bottom + origin.v, 0, 0);
    list.setWidth(width).setHeight(height);
    // Keep the list inside the frame: above the field when there is no room below.
    const CRect frameRect = frame->getViewSize();
    if (list.bottom > frameRect.bottom) {
        list.offset(0, (size.top + origin.v) - height - list.top);
    }
    if (list.top < 0) {
        list.offset(0, -list.top);
    }
    if (list.right > frameRect.right) {
        list.offset(frameRect.right - list.right, 0);
    }
    if (list.left < 0) {
        list.offset(-list.left, 0);
    }
    popup = new COptionMenuPopup(frameRect, this, list, entryHeight);
    frame->addView(popup);
    previousModal = frame->getModalView();
    frame->setModalView(nullptr);
    frame->setModalView(popup);
    setDirty();
    return true;
}

void COptionMenu::closePopup() {
    if (!popup) {
        return;
    }
    COptionMenuPopup* closing = popup;
    popup = nullptr;
    closing->menuGone(); // its deletion is deferred; it must not call back into us
    if (CFrame* frame = closing->getFrame()) {
        frame->removeViewDeferred(closing);
        if (frame->getModalView() == nullptr && previousModal &&
            frame->isDescendant(previousModal)) {
            frame->setModalView(previousModal);
        }
    }
    previousModal = nullptr;
    setDirty();
}

void COptionMenu::selectEntry(long index) {
    closePopup();
    if (index < 0 || index >= getNbEntries()) {
        return;
    }
    beginEdit();
    setValue(static_cast<float>(index));
    notifyValueChanged();
    endEdit();
}
