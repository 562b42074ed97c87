#include "editor/CZkmorvaEditor.h"

#include "editor/CAnimJoystick.h"
#include "editor/CAnimKnobEX.h"
#include "editor/CTextButton.h"
#include "editor/CVuMeterEX.h"
#include "editor/CZkTextEdit.h"
#include "editor/CZkmorvaHelpPages.h"
#include "editor/SpectrumPanel.h"
#include "framework/AUEvents.h"
#include "framework/CAAUParameter.h"
#include "units/ZkmorvaAU.h"
#include "widgets/CMovieBitmap.h"
#include "widgets/COnOffButton.h"
#include "widgets/CTextLabel.h"

#include <algorithm>
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

// The meter law: (log10(level) + kLawOffset) / kLawDecades runs from 0 at -62 dB
// to 0.9936 at 0 dB; under kLowestLevel (-60 dB, the scale's end) the meter is
// dark, above 0 dB full.
constexpr double kLowestLevel = 0.001;
constexpr double kLawOffset = 3.1;
constexpr double kLawDecades = 3.12;

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

void CZkmorvaEditor::SetTextBoxAsCurrentControl() {
    const UInt8 on = 1;
    if (unit != nullptr) {
        AudioUnitSetProperty(unit, CZkmorvaAU::kTextBoxCurrentControlProperty,
                             kAudioUnitScope_Global, 0, &on, sizeof on);
    }
}

float CZkmorvaEditor::CalcMeters(float x, bool isDecibel) {
    double level = x;
    if (isDecibel) {
        level = std::pow(10.0, level / 20.0);
    }
    if (level > 1.0) {
        return 1.f;
    }
    if (!(level >= kLowestLevel)) { // also NaN
        return 0.f;
    }
    return static_cast<float>((std::log10(level) + kLawOffset) / kLawDecades);
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

void CZkmorvaEditor::close() {
    spectrum.reset();
    controls.clear();
    helpPages.reset();
    frame.reset();
    bitmaps.clear();
    Initialize();
    AEffGUIEditor::close();
}

void CZkmorvaEditor::Initialize() {
    controls.clear();
    helpPages.reset();
    rateIndicator = nullptr;
    rateScale.fill(nullptr);
    panelHandle = nullptr;
    panelToggle = nullptr;
    helpOpen = nullptr;
    autoListenMenu = nullptr;
    lastSampleRate = 0;
    sampleRate = 0.0;
}

void CZkmorvaEditor::buildRateScale(CViewContainer* frame,
                                    const zkeditor::RateScaleLayout& layout) {
    for (std::size_t i = 0; i < rateScale.size(); ++i) {
        rateScale[i] =
            NewCTextLabel(CRect(), zkeditor::kLevelScale[i], frame, kNormalFont, labelColour);
    }
    placeRateScale(layout, 0);
}

void CZkmorvaEditor::followSampleRate(const zkeditor::RateScaleLayout& layout) {
    const double rate = zkeditor::ReadSampleRate(unit);
    if (static_cast<int>(rate) == lastSampleRate) {
        return;
    }
    lastSampleRate = static_cast<int>(rate);
    sampleRate = rate;
    if (rateIndicator != nullptr) {
        rateIndicator->setValue(zkeditor::RateIndicatorValue(rate));
    }
    placeRateScale(layout, zkeditor::RateClass(rate));
}

void CZkmorvaEditor::placeRateScale(const zkeditor::RateScaleLayout& layout, int rateClass) {
    const CCoord left = layout.left[static_cast<std::size_t>(std::clamp(rateClass, 0, 2))];
    for (std::size_t i = 0; i < rateScale.size(); ++i) {
        if (rateScale[i] == nullptr) {
            continue;
        }
        const auto step = static_cast<CCoord>(i);
        const CCoord x = left + step * layout.stepX;
        const CCoord y = layout.top + step * layout.stepY;
        rateScale[i]->setViewSize(CRect(x, y, x + layout.width, y + layout.height));
    }
    if (frame) {
        frame->setDirty();
    }
}
