#pragma once

#include "widgets/CBitmap.h"
#include "widgets/CControl.h"
#include "widgets/CDrawContext.h"

#include <memory>
#include <string>
#include <vector>

namespace zktest {

// Colour of frame i of a test film strip: every frame is one flat, distinct colour.
inline CColor StripColor(int frame) {
    return CColor{static_cast<unsigned char>(10 + 20 * frame), 40,
                  static_cast<unsigned char>(250 - 20 * frame), 255};
}

// A film strip of `frames` flat frames of width x frameHeight.
inline std::unique_ptr<CBitmap> MakeStrip(CCoord width, CCoord frameHeight, int frames) {
    return std::make_unique<CBitmap>(
        width, frameHeight * frames, [width, frameHeight, frames](cairo_t* cr, double) {
            for (int i = 0; i < frames; ++i) {
                const CColor c = StripColor(i);
                cairo_set_source_rgb(cr, c.red / 255.0, c.green / 255.0, c.blue / 255.0);
                cairo_rectangle(cr, 0, i * frameHeight, width, frameHeight);
                cairo_fill(cr);
            }
        });
}

// Records what a control reports, in order, as "begin 7", "changed 7 0.25", "end 7".
class RecordingListener : public CControlListener {
public:
    void valueChanged(CControl* control) override {
        events.push_back("changed " + std::to_string(control->getTag()));
        values.push_back(control->getValue());
    }
    void controlBeginEdit(CControl* control) override {
        events.push_back("begin " + std::to_string(control->getTag()));
    }
    void controlEndEdit(CControl* control) override {
        events.push_back("end " + std::to_string(control->getTag()));
    }
    std::vector<std::string> events;
    std::vector<float> values;
};

inline bool SameColor(const CColor& a, const CColor& b) {
    return a.red == b.red && a.green == b.green && a.blue == b.blue && a.alpha == b.alpha;
}

} // namespace zktest
