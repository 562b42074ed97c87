#include "editor/CZkmorvaEditor.h"

#include "editor/CAnimJoystick.h"
#include "editor/CAnimKnobEX.h"
#include "editor/CTextButton.h"
#include "editor/CVuMeterEX.h"
#include "editor/CZkTextEdit.h"
#include "editor/SpectrumPanel.h"
#include "framework/AUEvents.h"
#include "framework/CAAUParameter.h"
#include "widgets/COnOffButton.h"

#include <cmath>
#include <memory>

namespace {

// Hands a new view to its container; without one the view is dropped.
template <class View> View* Adopt(std::unique_ptr<View> view, CViewContainer* frame) {
    if (frame == nullptr) {
        return nullptr;
    }
    View* raw = view.get();
    frame->addView(view.release());
    return raw;
}

void NotifyGesture(AudioUnit unit, long tag, AudioUnitEventType type) {
    if (unit == nullptr || tag < 0) {
        return;
    }
    AudioUnitEvent event;
    event.mEventType = type;
    event.mArgument.mParameter = {unit, static_cast<AudioUnitParameterID>(tag),
                                  kAudioUnitScope_Global, 0};
    AUEventListenerNotify(nullptr, nullptr, &event);
}

} // namespace

CZkmorvaEditor::CZkmorvaEditor(AudioUnit unit_) : AEffGUIEditor(unit_), unit(unit_) {
    setKnobMode(kLinearMode);
}

CZkmorvaEditor::~CZkmorvaEditor() = default;

void CZkmorvaEditor::beginEdit(long tag) {
    NotifyGesture(unit, tag, kAudioUnitEvent_BeginParameterChangeGesture);
}

void CZkmorvaEditor::endEdit(long tag) {
    NotifyGesture(unit, tag, kAudioUnitEvent_EndParameterChangeGesture);
}

float CZkmorvaEditor::ConvertToVSTValue(float value, long) {
    return value;
}

float CZkmorvaEditor::ConvertToAUValue(float value, long) {
    return value;
}

void CZkmorvaEditor::SetTextBoxAsCurrentControl() {}

float CZkmorvaEditor::CalcMeters(float x, bool isDecibel) {
    double level = x;
    if (isDecibel) {
        level = std::pow(10.0, level / 20.0);
    }
    if (level > 1.0) {
        return 1.f;
    }
    if (!(level >= 0.001)) { // also NaN
        return 0.f;
    }
    return static_cast<float>((std::log10(level) + 3.1) / 3.12);
}

AudioUnitParameterValue CZkmorvaEditor::GetUnitValue(long tag) {
    AudioUnitParameterValue value = 0.f;
    if (unit == nullptr || tag < 0 ||
        AudioUnitGetParameter(unit, static_cast<AudioUnitParameterID>(tag), kAudioUnitScope_Global,
                              0, &value) != noErr) {
        value = 0.f;
    }
    return value;
}

float CZkmorvaEditor::GetValue(long tag) {
    return ConvertToVSTValue(GetUnitValue(tag), tag);
}

float CZkmorvaEditor::GetDefaultValue(long tag) {
    float value = 0.f;
    if (unit != nullptr && tag >= 0) {
        const CAAUParameter parameter(unit, static_cast<AudioUnitParameterID>(tag),
                                      kAudioUnitScope_Global, 0);
        value = parameter.DefaultValue();
    }
    return ConvertToVSTValue(value, tag);
}

CAnimJoystick* CZkmorvaEditor::NewCAnimJoystick(const CRect& size, long tagX, long tagY,
                                                CBitmap* bitmap, bool transparent,
                                                CViewContainer* frame) {
    auto control = std::make_unique<CAnimJoystick>(size, this, tagX, tagY, bitmap, CPoint(0, 0));
    control->setDefaultValue(GetDefaultValue(tagX));
    control->setDefaultYValue(GetDefaultValue(tagY));
    control->setValue(GetValue(tagX));
    control->setYValue(GetValue(tagY));
    control->setTransparency(transparent);
    return Adopt(std::move(control), frame);
}

CAnimKnobEX* CZkmorvaEditor::NewCAnimKnobEX(const CRect& size, long tag, CBitmap* bitmap,
                                            bool transparent, float, CViewContainer* frame) {
    auto control = std::make_unique<CAnimKnobEX>(size, this, tag, bitmap, CPoint(0, 0));
    control->setDefaultValue(GetDefaultValue(tag));
    control->setValue(GetValue(tag));
    control->setTransparency(transparent);
    return Adopt(std::move(control), frame);
}

CZkTextEdit* CZkmorvaEditor::NewCZkTextEdit(const CRect& size, long tag, CViewContainer* frame,
                                            CFont, const CColor& colour) {
    auto control = std::make_unique<CZkTextEdit>(size, this, tag, nullptr, nullptr, 0);
    control->setDefaultValue(GetDefaultValue(tag));
    control->setValue(GetValue(tag));
    control->setFont(kNormalFontSmaller);
    control->setFontColor(colour);
    control->setBackColor(kGreyCColor);
    control->setFrameColor(kTransparentCColor);
    control->setTransparency(true);
    return Adopt(std::move(control), frame);
}

COnOffButton* CZkmorvaEditor::NewCOnOffButton(const CRect& size, long tag, CBitmap* bitmap,
                                              bool transparent, float, CViewContainer* frame) {
    auto control = std::make_unique<COnOffButton>(size, this, tag, bitmap, 0);
    control->setDefaultValue(GetDefaultValue(tag));
    control->setValue(GetValue(tag));
    control->setTransparency(transparent);
    return Adopt(std::move(control), frame);
}

CTextLabel* CZkmorvaEditor::NewCTextLabel(const CRect& size, const char* text,
                                          CViewContainer* frame, CFont font, const CColor& colour) {
    auto label = std::make_unique<CTextLabel>(size, text, nullptr, 0);
    label->setFont(font);
    label->setFontColor(colour);
    label->setBackColor(kGreyCColor);
    label->setFrameColor(kTransparentCColor);
    label->setTransparency(true);
    return Adopt(std::move(label), frame);
}

CTextButton* CZkmorvaEditor::NewCTextButton(const CRect& size, long tag, const char* text,
                                            CViewContainer* frame, const CColor& colour,
                                            CFont font) {
    auto control = std::make_unique<CTextButton>(size, this, tag, text, colour, nullptr, 0);
    control->setDefaultValue(GetDefaultValue(tag));
    control->setValue(GetValue(tag));
    control->setFont(font);
    control->setFrameColor(kTransparentCColor);
    control->setTransparency(true);
    return Adopt(std::move(control), frame);
}

CVuMeterEX* CZkmorvaEditor::NewCVuMeterEX(const CRect& size, CBitmap* bitmap, long nbLed,
                                          bool transparent, bool offscreen, CViewContainer* frame) {
    auto meter = std::make_unique<CVuMeterEX>(size, bitmap, nbLed, kVertical);
    meter->setTransparency(transparent);
    meter->setUseOffscreen(offscreen);
    return Adopt(std::move(meter), frame);
}

void CZkmorvaEditor::idle() {
    if (frame) {
        frame->idle();
    }
}
