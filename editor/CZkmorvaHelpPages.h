#pragma once

#include "widgets/CRect.h"

#include <array>
#include <memory>

class CBitmap;
class CControl;
class CControlListener;
class COnOffButton;
class CFrame;
class CViewContainer;

// The three help pages laid over an editor: page 1 (the controls), page 2 (mouse
// and keys, with the knob-mode switch), page 3 (text entry). A shown page is the
// frame's modal view. Every page carries tabs to the other two, a close tab and
// the manual and web-site tabs. The pages not shown are kept here; a shown page
// belongs to the frame, which destroys it when it closes.
class CZkmorvaHelpPages {
public:
    static constexpr CCoord kWidth = 374;
    static constexpr CCoord kTop = 12;
    static constexpr CCoord kBottom = 270;
    static constexpr int kPageCount = 3;

    enum class Tab : std::size_t { Close, Page1, Page2, Page3, Manual, Web };
    static constexpr std::size_t kTabCount = 6;
    // Tab rectangles on a page, in the order of Tab.
    static constexpr std::array<CRect, kTabCount> kTabRects{{
        {348, 10, 364, 27},
        {11, 10, 55, 27},
        {59, 10, 143, 27},
        {147, 10, 219, 27},
        {223, 10, 278, 27},
        {282, 10, 344, 27},
    }};
    static constexpr const CRect& TabRect(Tab t) { return kTabRects[static_cast<std::size_t>(t)]; }
    static constexpr CRect kKnobModeRect{20, 126, 32, 171};
    static constexpr CRect kVersionRect{65, 75, 112, 87};
    static constexpr const char* kVersion = "1.0.9";

    // tag: the editor-internal tag of the tabs and switches; switches: skin::kSwitchSheet.
    CZkmorvaHelpPages(CControlListener* listener, long tag, CBitmap* switches,
                      const std::array<CBitmap*, kPageCount>& backgrounds, CCoord left);
    ~CZkmorvaHelpPages();
    CZkmorvaHelpPages(const CZkmorvaHelpPages&) = delete;
    CZkmorvaHelpPages& operator=(const CZkmorvaHelpPages&) = delete;

    // Left edge of the pages centred on a frame of that width.
    static constexpr CCoord CentredLeft(CCoord frameWidth) { return (frameWidth - kWidth + 1) / 2; }

    // The button in the frame that opens page 1.
    void setOpenButton(COnOffButton* button) { openButton = button; }
    // Handles a change of one of the help controls (false: not one of them).
    bool handle(CFrame* frame, CControl* control);
    void moveTo(CCoord left);
    void showPage(CFrame* frame, int page);
    void closeAll(CFrame* frame);
    // The page shown (0..2), or -1.
    int shownPage() const;

    CViewContainer* page(int index) const { return pages[static_cast<std::size_t>(index)]; }
    // A tab of a page; null where the page has no such tab (its own page tab).
    COnOffButton* tab(int page, Tab which) const;
    COnOffButton* knobModeSwitch() const { return knobMode; }

private:
    void refreshKnobMode(CFrame* frame);

    std::array<CViewContainer*, kPageCount> pages{};
    std::array<std::unique_ptr<CViewContainer>, kPageCount> stored;
    std::array<std::array<COnOffButton*, kTabCount>, kPageCount> tabs{};
    std::array<bool, kPageCount> shown{};
    COnOffButton* knobMode = nullptr;
    COnOffButton* openButton = nullptr;
};
