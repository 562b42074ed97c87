#include "editor/CZkmorvaHelpPages.h"

#include "editor/ProductAddresses.h"
#include "editor/UrlOpener.h"
#include "widgets/CFrame.h"
#include "widgets/COnOffButton.h"
#include "widgets/CTextLabel.h"

namespace {

std::unique_ptr<COnOffButton> MakeSwitch(const CRect& rect, CControlListener* listener, long tag,
                                         CBitmap* bitmap) {
    auto button = std::make_unique<COnOffButton>(rect, listener, tag, bitmap, 0);
    button->setValue(0.f);
    button->setTransparency(true); // the switch sheet only tints the key under it
    return button;
}

} // namespace

CZkmorvaHelpPages::CZkmorvaHelpPages(CControlListener* listener, long tag, CBitmap* switches,
                                     const std::array<CBitmap*, kPageCount>& backgrounds,
                                     CCoord left) {
    for (int p = 0; p < kPageCount; ++p) {
        const auto i = static_cast<std::size_t>(p);
        auto page = std::make_unique<CViewContainer>(CRect(left, kTop, left + kWidth, kBottom),
                                                     nullptr, backgrounds[i]);
        page->setTransparency(true); // rounded corners
        for (std::size_t t = 0; t < kTabCount; ++t) {
            if (t == static_cast<std::size_t>(Tab::Page1) + i) {
                continue; // a page has no tab to itself
            }
            auto button = MakeSwitch(kTabRects[t], listener, tag, switches);
            tabs[i][t] = button.get();
            page->addView(button.release());
        }
        if (p == 1) {
            auto button = MakeSwitch(kKnobModeRect, listener, tag, switches);
            knobMode = button.get();
            page->addView(button.release());
        }
        auto version = std::make_unique<CTextLabel>(kVersionRect, kVersion, nullptr, 0);
        version->setFont(kNormalFontSmaller);
        version->setFontColor(kWhiteCColor);
        version->setHoriAlign(kLeftText);
        version->setTransparency(true);
        page->addView(version.release());
        pages[i] = page.get();
        stored[i] = std::move(page);
    }
}

CZkmorvaHelpPages::~CZkmorvaHelpPages() = default;

COnOffButton* CZkmorvaHelpPages::tab(int page, Tab which) const {
    return tabs[static_cast<std::size_t>(page)][static_cast<std::size_t>(which)];
}

int CZkmorvaHelpPages::shownPage() const {
    for (int p = 0; p < kPageCount; ++p) {
        if (shown[static_cast<std::size_t>(p)]) {
            return p;
        }
    }
    return -1;
}

void CZkmorvaHelpPages::moveTo(CCoord left) {
    for (CViewContainer* page : pages) {
        CRect rect = page->getViewSize();
        rect.moveTo(left, kTop);
        page->setViewSize(rect);
        page->setMouseableArea(rect);
        page->setDirty();
    }
}

void CZkmorvaHelpPages::closeAll(CFrame* frame) {
    frame->setModalView(nullptr);
    for (int p = 0; p < kPageCount; ++p) {
        const auto i = static_cast<std::size_t>(p);
        if (shown[i]) {
            std::unique_ptr<CView> view = frame->releaseView(pages[i]);
            stored[i].reset(static_cast<CViewContainer*>(view.release()));
            shown[i] = false;
        }
    }
    frame->setDirty();
}

void CZkmorvaHelpPages::showPage(CFrame* frame, int page) {
    if (page < 0 || page >= kPageCount || shownPage() == page) {
        return;
    }
    closeAll(frame);
    const auto i = static_cast<std::size_t>(page);
    for (COnOffButton* button : tabs[i]) {
        if (button != nullptr) {
            button->setValue(0.f);
        }
    }
    frame->addView(stored[i].release());
    shown[i] = true;
    frame->setModalView(pages[i]);
    if (page == 1) {
        refreshKnobMode(frame);
    }
    frame->setDirty();
}

void CZkmorvaHelpPages::refreshKnobMode(CFrame* frame) {
    knobMode->setValue(frame->getKnobMode() == kLinearMode ? 0.f : 1.f);
}

bool CZkmorvaHelpPages::handle(CFrame* frame, CControl* control) {
    if (control == nullptr) {
        return false;
    }
    if (control == openButton) {
        control->setValue(0.f);
        showPage(frame, 0);
        return true;
    }
    if (control == knobMode) {
        frame->setKnobMode(frame->getKnobMode() == kLinearMode ? kCircularMode : kLinearMode);
        refreshKnobMode(frame);
        return true;
    }
    for (const auto& pageTabs : tabs) {
        for (std::size_t t = 0; t < kTabCount; ++t) {
            if (pageTabs[t] != control) {
                continue;
            }
            const bool pressed = control->getValue() == 1.0f;
            control->setValue(0.f);
            const Tab which = static_cast<Tab>(t);
            switch (which) {
            case Tab::Close:
                closeAll(frame);
                break;
            case Tab::Page1:
            case Tab::Page2:
            case Tab::Page3:
                showPage(frame, static_cast<int>(t - static_cast<std::size_t>(Tab::Page1)));
                break;
            case Tab::Manual:
            case Tab::Web:
                if (pressed) {
                    zkeditor::OpenUrl(which == Tab::Manual
                                          ? zkeditor::ManualUrl()
                                          : std::string(zkeditor::kProductPageUrl));
                }
                break;
            }
            return true;
        }
    }
    return false;
}
