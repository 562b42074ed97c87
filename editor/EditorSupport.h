#pragma once

#include "editor/EditorLayout.h"
#include "framework/Types.h"
#include "widgets/CBitmap.h"

#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <vector>

class CControl;

// What both editors share beyond the editor base: their bitmaps, the controls
// of each tag, the sending of a control value and the sample-rate class.
namespace zkeditor {

// The bitmaps of an open editor, by id, each with black as transparent colour.
// They outlive every view showing them: the editor drops them after its frame.
class BitmapSet {
public:
    void load(std::initializer_list<int> ids);
    CBitmap* get(int id) const;
    void clear() { bitmaps.clear(); }
    bool empty() const { return bitmaps.empty(); }

private:
    std::map<int, std::unique_ptr<CBitmap>> bitmaps;
};

// How a control shows a parameter's control value.
enum class Role : unsigned char {
    Value,   // buttons, name switches: the value itself
    Knob,    // left alone while the user drags it
    TextBox, // left alone while the user types into it; parsed when committed
    Menu,    // the auto-listen mode menu: entry index = value x kModeSteps
    PadX,    // a pad's X axis (the pad's own value)
    PadY,    // a pad's Y axis (its Y value and the partner reporting it)
};

struct ControlEntry {
    CControl* control;
    long tag;
    Role role;
    ParseFunction parse; // text boxes only
};

// Every control that shows a parameter, by tag. A tag can have several (a knob
// and its text box, a pad axis and its text box).
class ControlRegistry {
public:
    void add(CControl* control, long tag, Role role, ParseFunction parse = nullptr);
    const ControlEntry* find(const CControl* control) const;
    // The first control of a tag with that role (null if none).
    CControl* first(long tag, Role role) const;
    // Puts a control value on every control of the tag.
    void show(long tag, float value) const;
    void clear() { entries.clear(); }
    std::size_t size() const { return entries.size(); }

private:
    std::vector<ControlEntry> entries;
};

// The six detents of a high-/low-pass slope knob's upper half: 0.6 to 1.0 in
// tenths, everything below 0.55 stays in the resonant range (at most 0.5).
float SnapSlopeDetent(float v);

// The control value typed into a text box: its text read by the tag's parse
// function. Nothing when the text reads as no number at all (NaN); infinite
// results are returned and then clamped like any other value.
std::optional<float> ParseTextBox(CControl* textBox, ParseFunction parse);

// Sets a parameter of the unit as the user's change: through the event service,
// so every listener (the unit's, the view's) hears it.
void SendParameter(AudioUnit unit, long tag, float parameterValue);

// The unit's sample rate (its output format), 0 when it cannot be read.
double ReadSampleRate(AudioUnit unit);

// Sample-rate classes of the indicator: 1.0 up to 44100 Hz, 0.5 at exactly
// 48000 Hz, 0 otherwise; and the index 0, 1, 2 of the class (for label columns).
float RateIndicatorValue(double sampleRate);
int RateClass(double sampleRate);

} // namespace zkeditor
