#pragma once

#include "editor/EditorLayout.h"
#include "editor/EditorSupport.h"
#include "editor/ValueMapping.h"
#include "widgets/CColor.h"

#include <optional>
#include <span>

class CZkmorvaEditor;
class CFrame;
class COptionMenu;
class CTextLabel;

// Building an editor's controls from its layout tables, and reading the value a
// control change stands for; shared by both editors.
namespace zkeditor {

struct BuildContext {
    CZkmorvaEditor& editor;
    ControlRegistry& controls;
    CFrame* frame;
    const BitmapSet& bitmaps;
    CColor labelColour;
};

inline constexpr CColor kNameColour{240, 161, 41, 255};

// Knobs (small or gain knob strip) with their text boxes and letters.
void BuildKnobs(BuildContext& context, std::span<const KnobDef> knobs);
// Pads (the joystick strip) with a text box per axis.
void BuildPads(BuildContext& context, std::span<const PadDef> pads);
// On/off switches shown as their name.
void BuildNames(BuildContext& context, std::span<const NameDef> names);
// LED buttons.
void BuildLeds(BuildContext& context, std::span<const LedDef> leds);
// Labels in the context's label colour, or in the colour given.
void BuildLabels(BuildContext& context, std::span<const LabelDef> labels);
void BuildLabels(BuildContext& context, std::span<const LabelDef> labels, CColor colour);
CTextLabel* BuildLabel(BuildContext& context, const CRect& rect, const char* text, CFont font);
// The auto-listen mode menu: entry index = control value x 6.
COptionMenu* BuildAutoListenMenu(BuildContext& context, const CRect& rect, long tag,
                                 std::span<const char* const> entries);

// The control value a change of `control` stands for, in [0, 1]: a text box's
// parsed text, the menu's entry / kModeSteps, a slope knob snapped to its detents (the
// knob follows), else the control's value. Nothing for text that reads as no
// number (the box then shows the value again).
std::optional<float> ValueOfChange(CZkmorvaEditor& editor, const ControlEntry* entry,
                                   CControl* control, const COptionMenu* menu, MappingKind kind);

} // namespace zkeditor
