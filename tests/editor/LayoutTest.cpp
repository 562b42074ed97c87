// Both editors as built, panel shown and folded: no two views overlap unless the
// layout means it, and every text a display can show fits inside it in the real
// font at 1x and 2x. Catches a control drawn over another (and taking its
// clicks) and a value cut at the edges of its box.
#include "EditorRig.h"

#include "editor/CZkmorvaEqCurve.h"
#include "editor/CZkmorvaSpectrumView.h"
#include "widgets/CMovieBitmap.h"
#include "widgets/COnOffButton.h"
#include "widgets/COptionMenu.h"
#include "widgets/CTextEdit.h"
#include "widgets/CTextLabel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <typeinfo>

namespace {

// What a view is to the layout.
enum class Part {
    Control, // everything with a place of its own
    Screen,  // the curves, the rate indicator's shading, the panel handle
    Scale,   // level and frequency scale labels
    Key,     // the help and panel keys in the corners
};

// The overlaps the layout means, and why.
struct Allowed {
    Part a, b;
    const char* why;
};
constexpr Allowed kAllowed[] = {
    {Part::Screen, Part::Screen, "the curves, the shading and the handle share the screen"},
    {Part::Screen, Part::Scale, "the scales are drawn on the screen"},
    {Part::Screen, Part::Key, "the help key sits on the shading, the folded keys on the handle"},
};

bool IsAllowed(Part a, Part b) {
    return std::any_of(std::begin(kAllowed), std::end(kAllowed), [&](const Allowed& x) {
        return (x.a == a && x.b == b) || (x.a == b && x.b == a);
    });
}

bool IsScaleText(const std::string& text) {
    static const std::set<std::string> scales{"+12", "0",  "-12", "40",  "100",
                                              "200", "1k", "2k",  "10k", "20k"};
    return scales.count(text) > 0;
}

std::string Describe(CView* view) {
    std::string s = typeid(*view).name();
    if (auto* control = dynamic_cast<CControl*>(view)) {
        s += " tag " + std::to_string(control->getTag());
    }
    if (auto* label = dynamic_cast<CTextLabel*>(view); label && !dynamic_cast<CTextEdit*>(view)) {
        s += std::string(" \"") + label->getText() + "\"";
    }
    const CRect r = view->getViewSize();
    return s + " at (" + std::to_string(r.left) + ", " + std::to_string(r.top) + ", " +
           std::to_string(r.right) + ", " + std::to_string(r.bottom) + ")";
}

template <class Editor> Part PartOf(const Editor& editor, CView* view) {
    if (dynamic_cast<CZkmorvaEqCurve*>(view) || dynamic_cast<CZkmorvaSpectrumView*>(view) ||
        view == editor.getRateIndicator() || view == editor.getPanelHandle()) {
        return Part::Screen;
    }
    if (view == editor.getPanelToggle() || view == editor.getHelpOpenButton()) {
        return Part::Key;
    }
    auto* label = dynamic_cast<CTextLabel*>(view);
    if (label && !dynamic_cast<CTextEdit*>(view) && IsScaleText(label->getText())) {
        return Part::Scale;
    }
    return Part::Control;
}

// Hidden views (the scale labels of a folded panel) take no room.
template <class Rig> void CheckNoOverlaps(Rig& rig, const char* state) {
    CFrame* frame = rig.frame;
    for (int i = 0; i < frame->getNbViews(); ++i) {
        CView* a = frame->getView(i);
        for (int j = i + 1; j < frame->getNbViews(); ++j) {
            CView* b = frame->getView(j);
            CRect common = a->getViewSize();
            common.bound(b->getViewSize());
            if (a->isVisible() && b->isVisible() && common.width() > 0 && common.height() > 0 &&
                !IsAllowed(PartOf(*rig.editor, a), PartOf(*rig.editor, b))) {
                ADD_FAILURE() << state << ": " << Describe(a) << " overlaps " << Describe(b);
            }
        }
    }
}

// Every text the view can show: a box's display of 4097 values across its range,
// a menu's entries, a label's text.
std::set<std::string> TextsOf(CView* view) {
    std::set<std::string> texts;
    if (auto* menu = dynamic_cast<COptionMenu*>(view)) {
        for (long i = 0; i < menu->getNbEntries(); ++i) {
            texts.insert(menu->getEntry(i));
        }
    } else if (auto* box = dynamic_cast<CTextEdit*>(view)) {
        for (int i = 0; i <= 4096; ++i) {
            texts.insert(box->valueToString(static_cast<float>(i) / 4096.f));
        }
    } else if (auto* label = dynamic_cast<CTextLabel*>(view)) {
        texts.insert(label->getText());
    }
    return texts;
}

// Text is drawn 2 px inside the left and right edges and clipped there.
template <class Rig> void CheckTextsFit(Rig& rig) {
    for (double scale : {1.0, 2.0}) {
        COffscreenContext measure(1, 1, scale);
        for (int i = 0; i < rig.frame->getNbViews(); ++i) {
            CView* view = rig.frame->getView(i);
            auto* display = dynamic_cast<CParamDisplay*>(view);
            if (display == nullptr) {
                continue;
            }
            measure.setFont(display->getFont());
            double widest = 0.0;
            std::string widestText;
            for (const std::string& text : TextsOf(view)) {
                if (const double width = measure.getStringWidth(text.c_str()); width > widest) {
                    widest = width;
                    widestText = text;
                }
            }
            EXPECT_LE(widest, view->getViewSize().width() - 4)
                << "\"" << widestText << "\" in " << Describe(view) << " at " << scale << "x";
        }
    }
}

template <class Rig> void CheckLayout(Rig& rig) {
    SCOPED_TRACE(typeid(*rig.editor).name());
    CheckNoOverlaps(rig, "panel shown");
    CheckTextsFit(rig);
    rig.Click(Rig::Centre(rig.editor->getPanelToggle()->getViewSize()));
    CheckNoOverlaps(rig, "panel folded");
}

TEST(Layout, ViewsOfBothEditorsDoNotOverlapAndTheirTextsFit) {
    CheckLayout(*zktest::MakeRig10());
    CheckLayout(*zktest::MakeRig20());
}

} // namespace
