#include "editor/EditorSupport.h"

#include "editor/CAnimJoystick.h"
#include "editor/CAnimKnobEX.h"
#include "editor/ValueMapping.h"
#include "framework/AUBase.h"
#include "framework/AUEvents.h"
#include "widgets/CTextEdit.h"

#include <cmath>

namespace zkeditor {

void BitmapSet::load(std::initializer_list<int> ids) {
    for (int id : ids) {
        auto bitmap = std::make_unique<CBitmap>(id);
        bitmap->setTransparentColor(kBlackCColor);
        bitmaps[id] = std::move(bitmap);
    }
}

CBitmap* BitmapSet::get(int id) const {
    const auto it = bitmaps.find(id);
    return it == bitmaps.end() ? nullptr : it->second.get();
}

void ControlRegistry::add(CControl* control, long tag, Role role, ParseFunction parse) {
    if (control != nullptr) {
        entries.push_back({control, tag, role, parse});
    }
}

const ControlEntry* ControlRegistry::find(const CControl* control) const {
    for (const ControlEntry& entry : entries) {
        if (entry.control == control) {
            return &entry;
        }
    }
    return nullptr;
}

CControl* ControlRegistry::first(long tag, Role role) const {
    for (const ControlEntry& entry : entries) {
        if (entry.tag == tag && entry.role == role) {
            return entry.control;
        }
    }
    return nullptr;
}

void ControlRegistry::show(long tag, float value) const {
    for (const ControlEntry& entry : entries) {
        if (entry.tag != tag) {
            continue;
        }
        switch (entry.role) {
        case Role::Knob:
            if (auto* knob = dynamic_cast<CAnimKnobEX*>(entry.control);
                knob != nullptr && knob->isEditing()) {
                break;
            }
            entry.control->setValue(value);
            break;
        case Role::TextBox:
            if (auto* box = dynamic_cast<CTextEdit*>(entry.control);
                box != nullptr && box->isEditing()) {
                break;
            }
            entry.control->setValue(value);
            break;
        case Role::Menu:
            entry.control->setValue(value * kModeSteps);
            break;
        case Role::PadY:
            if (auto* pad = dynamic_cast<CAnimJoystick*>(entry.control)) {
                pad->setYValue(value);
                pad->getPartner()->setValue(value);
            }
            break;
        case Role::Value:
        case Role::PadX:
            entry.control->setValue(value);
            break;
        }
    }
}

float SnapSlopeDetent(float v) {
    if (v >= 0.95f) {
        return 1.0f;
    }
    if (v >= 0.85f) {
        return 0.9f;
    }
    if (v >= 0.75f) {
        return 0.8f;
    }
    if (v >= 0.65f) {
        return 0.7f;
    }
    if (v >= 0.55f) {
        return 0.6f;
    }
    return std::min(v, 0.5f);
}

std::optional<float> ParseTextBox(CControl* textBox, ParseFunction parse) {
    if (textBox == nullptr || parse == nullptr) {
        return std::nullopt;
    }
    const float v = parse(textBox);
    if (std::isnan(v)) {
        return std::nullopt;
    }
    return v;
}

void SendParameter(AudioUnit unit, long tag, float parameterValue) {
    if (unit == nullptr || tag < 0) {
        return;
    }
    const AudioUnitParameter parameter{unit, static_cast<AudioUnitParameterID>(tag),
                                       kAudioUnitScope_Global, 0};
    AUParameterSet(nullptr, nullptr, &parameter, parameterValue, 0);
}

double ReadSampleRate(AudioUnit unit) {
    Float64 rate = 0.0;
    UInt32 size = sizeof rate;
    if (unit == nullptr || AudioUnitGetProperty(unit, kAudioUnitProperty_SampleRate,
                                                kAudioUnitScope_Output, 0, &rate, &size) != noErr) {
        return 0.0;
    }
    return rate;
}

float RateIndicatorValue(double sampleRate) {
    if (sampleRate < 44101.0) {
        return 1.0f;
    }
    return sampleRate == 48000.0 ? 0.5f : 0.0f;
}

int RateClass(double sampleRate) {
    const float value = RateIndicatorValue(sampleRate);
    return value == 1.0f ? 0 : (value == 0.5f ? 1 : 2);
}

} // namespace zkeditor
