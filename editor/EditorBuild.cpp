#include "editor/EditorBuild.h"

#include "editor/CAnimJoystick.h"
#include "editor/CAnimKnobEX.h"
#include "editor/CTextButton.h"
#include "editor/CZkTextEdit.h"
#include "editor/CZkmorvaEditor.h"
#include "resources/SkinIds.h"
#include "widgets/COnOffButton.h"
#include "widgets/COptionMenu.h"
#include "widgets/CTextLabel.h"

#include <algorithm>
#include <memory>

namespace zkeditor {

namespace {

CZkTextEdit* BuildTextBox(BuildContext& context, const CRect& rect, long tag,
                          DisplayFunction display, ParseFunction parse) {
    CZkTextEdit* box =
        context.editor.NewCZkTextEdit(rect, tag, context.frame, kNormalFont, context.labelColour);
    if (box != nullptr) {
        box->setStringConvert(display);
        box->setValue(context.editor.GetValue(tag)); // the text follows the conversion
        context.controls.add(box, tag, Role::TextBox, parse);
    }
    return box;
}

} // namespace

void BuildKnobs(BuildContext& context, std::span<const KnobDef> knobs) {
    for (const KnobDef& def : knobs) {
        CBitmap* strip =
            context.bitmaps.get(def.size == KnobSize::Small ? skin::kSmallKnob : skin::kGainKnob);
        context.controls.add(
            context.editor.NewCAnimKnobEX(def.rect, def.tag, strip, true, 0.f, context.frame),
            def.tag, Role::Knob);
        BuildTextBox(context, TextBox(def), def.tag, def.display, def.parse);
        if (def.letter != nullptr) {
            BuildLabel(context, LetterLabel(def.rect, def.size), def.letter, kNormalFont);
        }
    }
}

void BuildPads(BuildContext& context, std::span<const PadDef> pads) {
    for (const PadDef& def : pads) {
        CAnimJoystick* pad = context.editor.NewCAnimJoystick(def.rect, def.tagX, def.tagY,
                                                             context.bitmaps.get(skin::kJoystick),
                                                             true, context.frame);
        context.controls.add(pad, def.tagX, Role::PadX);
        context.controls.add(pad, def.tagY, Role::PadY);
        BuildTextBox(context, PadTextBoxX(def), def.tagX, def.displayX, def.parseX);
        BuildTextBox(context, PadTextBoxY(def), def.tagY, def.displayY, def.parseY);
    }
}

void BuildNames(BuildContext& context, std::span<const NameDef> names) {
    for (const NameDef& def : names) {
        context.controls.add(context.editor.NewCTextButton(def.rect, def.tag, def.text,
                                                           context.frame, kNameColour, def.font),
                             def.tag, Role::Value);
    }
}

void BuildLeds(BuildContext& context, std::span<const LedDef> leds) {
    for (const LedDef& def : leds) {
        context.controls.add(context.editor.NewCOnOffButton(def.rect, def.tag,
                                                            context.bitmaps.get(skin::kLedButton),
                                                            true, 0.f, context.frame),
                             def.tag, Role::Value);
    }
}

CTextLabel* BuildLabel(BuildContext& context, const CRect& rect, const char* text, CFont font) {
    return context.editor.NewCTextLabel(rect, text, context.frame, font, context.labelColour);
}

void BuildLabels(BuildContext& context, std::span<const LabelDef> labels) {
    BuildLabels(context, labels, context.labelColour);
}

void BuildLabels(BuildContext& context, std::span<const LabelDef> labels, CColor colour) {
    for (const LabelDef& def : labels) {
        context.editor.NewCTextLabel(def.rect, def.text, context.frame, def.font, colour);
    }
}

COptionMenu* BuildAutoListenMenu(BuildContext& context, const CRect& rect, long tag,
                                 std::span<const char* const> entries) {
    auto menu = std::make_unique<COptionMenu>(rect, &context.editor, tag);
    for (const char* entry : entries) {
        menu->addEntry(entry);
    }
    menu->setFont(kNormalFontSmaller);
    menu->setFontColor(context.labelColour);
    menu->setBackColor(kBlackCColor);
    menu->setFrameColor(kGreyCColor);
    menu->setDefaultValue(context.editor.GetDefaultValue(tag) * kModeSteps);
    menu->setValue(context.editor.GetValue(tag) * kModeSteps);
    COptionMenu* raw = menu.get();
    context.frame->addView(menu.release());
    context.controls.add(raw, tag, Role::Menu);
    return raw;
}

std::optional<float> ValueOfChange(CZkmorvaEditor& editor, const ControlEntry* entry,
                                   CControl* control, const COptionMenu* menu, MappingKind kind) {
    float v = control->getValue();
    if (entry != nullptr && entry->role == Role::TextBox) {
        const std::optional<float> typed = ParseTextBox(control, entry->parse);
        if (!typed) {
            control->setValue(editor.GetValue(control->getTag()));
            return std::nullopt;
        }
        v = *typed;
    } else if (menu != nullptr && control == menu) {
        v = static_cast<float>(menu->getCurrent()) / kModeSteps;
    } else if (entry != nullptr && entry->role == Role::Knob && kind == MappingKind::SlopeQ) {
        v = SnapSlopeDetent(v);
        control->setValue(v);
    }
    return std::clamp(v, 0.f, 1.f);
}

} // namespace zkeditor
