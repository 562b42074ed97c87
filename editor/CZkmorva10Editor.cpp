#include "editor/CZkmorva10Editor.h"

#include "editor/CVuMeterEX.h"
#include "editor/CZkmorvaEqCurve.h"
#include "editor/CZkmorvaHelpPages.h"
#include "editor/EditorBuild.h"
#include "editor/SpectrumPanel.h"
#include "editor/UrlOpener.h"
#include "editor/ValueMapping.h"
#include "editor/Zkmorva10Layout.h"
#include "framework/AUBase.h"
#include "resources/SkinIds.h"
#include "widgets/CMovieBitmap.h"
#include "widgets/COnOffButton.h"
#include "widgets/COptionMenu.h"
#include "widgets/CTextLabel.h"

#include <algorithm>

using namespace zk10layout;
using zkeditor::Role;

namespace {

constexpr CColor kCurveFill{255, 191, 0, 255};

// A meter's level when the unit gives no reading: far under the floor, so it stays dark.
constexpr float kNoReadingDb = -200.f;

} // namespace

CZkmorva10Editor::CZkmorva10Editor(AudioUnit unit_) : CZkmorvaEditor(unit_) {
    Initialize();
    const CBitmap background(skin::kBackground10);
    const bool loaded = background.isLoaded();
    frameRect = CRect(0, 0, loaded ? background.getWidth() : kFullWidth,
                      loaded ? background.getHeight() : kHeight);
    rect = frameRect;
    labelColour = kWhiteCColor;
}

CZkmorva10Editor::~CZkmorva10Editor() {
    if (frame) {
        close();
    }
}

void CZkmorva10Editor::Initialize() {
    CZkmorvaEditor::Initialize();
    curve = nullptr;
    meters.fill(nullptr);
    levelScale.fill(nullptr);
}

float CZkmorva10Editor::ConvertToVSTValue(float value, long id) {
    return zk10::ConvertToVSTValue(value, id);
}

float CZkmorva10Editor::ConvertToAUValue(float value, long id) {
    return zk10::ConvertToAUValue(value, id);
}

bool CZkmorva10Editor::open(void* parent) {
    CZkmorvaEditor::open(parent);
    bitmaps.load({skin::kBackground10, skin::kRateIndicator10, skin::kPanelHandle10,
                  skin::kSmallKnob, skin::kGainKnob, skin::kJoystick, skin::kSwitchSheet,
                  skin::kLedButton, skin::kMeter76, skin::kHelpPage10, skin::kHelpPageMouse,
                  skin::kHelpPageTextEntry});
    const bool hidden = GetValue(kHidePanelTag) == 1.0f;

    frame = std::make_unique<CFrame>(frameRect, parent, this);
    frame->setBackground(bitmaps.get(skin::kBackground10));
    CFrame* f = frame.get();

    spectrum = std::make_unique<zkeditor::SpectrumPanel>(unit, f, zkeditor::kZkmorva10Spectrum,
                                                         false); // under the curve
    auto curveView = std::make_unique<CZkmorvaEqCurve>(
        kCurveRect, zkeditor::kCurveLowHz, zkeditor::kCurveHighHz, kRedCColor, kCurveFill);
    curve = curveView.get();
    f->addView(curveView.release());
    auto indicator = std::make_unique<CMovieBitmap>(kRateIndicatorRect, this, kInternalTag,
                                                    bitmaps.get(skin::kRateIndicator10));
    indicator->setTransparency(true); // only the shading over the curve is drawn
    rateIndicator = indicator.get();
    f->addView(indicator.release());

    buildLabels(f);
    buildControls(f);

    auto handle = std::make_unique<CMovieBitmap>(kPanelHandleRect, this, kHidePanelTag,
                                                 bitmaps.get(skin::kPanelHandle10));
    handle->setValue(hidden ? 0.f : 1.f);
    panelHandle = handle.get();
    f->addView(handle.release());
    // Over the handle: they belong to the curve panel and fold away with it.
    zkeditor::BuildContext context{*this, controls, f, bitmaps, labelColour};
    CRect levelRect = kLevelScaleLeft;
    for (std::size_t i = 0; i < levelScale.size(); ++i) {
        levelScale[i] =
            zkeditor::BuildLabel(context, levelRect, zkeditor::kLevelScale[i], kNormalFont);
        levelRect.offset(kLevelScaleStepX, kLevelScaleStepY);
    }
    panelToggle = NewCOnOffButton(PanelToggleRect(kFullWidth), kHidePanelTag,
                                  bitmaps.get(skin::kSwitchSheet), true, 0.f, f);
    controls.add(panelToggle, kHidePanelTag, Role::Value);
    auto help = std::make_unique<COnOffButton>(HelpOpenRect(kFullWidth), this, kInternalTag,
                                               bitmaps.get(skin::kSwitchSheet), 0);
    help->setTransparency(true);
    helpOpen = help.get();
    f->addView(help.release());

    helpPages = std::make_unique<CZkmorvaHelpPages>(
        this, kInternalTag, bitmaps.get(skin::kSwitchSheet),
        std::array<CBitmap*, 3>{bitmaps.get(skin::kHelpPage10), bitmaps.get(skin::kHelpPageMouse),
                                bitmaps.get(skin::kHelpPageTextEntry)},
        CZkmorvaHelpPages::CentredLeft(kFullWidth));
    helpPages->setOpenButton(helpOpen);

    for (long tag = kFirstBandTag; tag <= kLastBandTag; ++tag) {
        feedCurve(tag, GetValue(tag));
    }
    HidePanel(hidden);
    idle();
    return true;
}

void CZkmorva10Editor::buildLabels(CFrame* f) {
    zkeditor::BuildContext context{*this, controls, f, bitmaps, labelColour};
    zkeditor::BuildLabels(context, kLabels);
    buildRateScale(f, kRateScale);
}

void CZkmorva10Editor::buildControls(CFrame* f) {
    zkeditor::BuildContext context{*this, controls, f, bitmaps, labelColour};
    zkeditor::BuildKnobs(context, kGainKnobs);
    zkeditor::BuildKnobs(context, kBandKnobs);
    zkeditor::BuildPads(context, kPads);
    zkeditor::BuildNames(context, kNames);
    zkeditor::BuildLeds(context, kLeds);
    autoListenMenu = zkeditor::BuildAutoListenMenu(context, kAutoListenMenuRect, kAutoListenModeTag,
                                                   kAutoListenModes);
    for (std::size_t i = 0; i < meters.size(); ++i) {
        meters[i] =
            NewCVuMeterEX(kMeterRects[i], bitmaps.get(skin::kMeter76), kMeterLeds, true, false, f);
    }
}

void CZkmorva10Editor::feedCurve(long tag, float value) {
    if (curve != nullptr && tag >= kFirstBandTag && tag <= kLastBandTag) {
        curve->setCurve(tag - kFirstBandTag, value);
        curve->setDirty();
    }
}

void CZkmorva10Editor::valueChanged(CControl* control) {
    if (!frame || control == nullptr) {
        return;
    }
    if (helpPages && helpPages->handle(frame.get(), control)) {
        frame->setDirty();
        return;
    }
    if (control == rateIndicator || control == panelHandle) {
        return;
    }
    const long tag = control->getTag();
    const std::optional<float> changed = zkeditor::ValueOfChange(
        *this, controls.find(control), control, autoListenMenu, zk10::KindOf(tag));
    if (!changed) {
        return;
    }
    const float v = *changed;
    if (control == panelToggle) {
        HidePanel(v != 0.f);
        panelHandle->setValue(v != 0.f ? 0.f : 1.f);
    }
    zkeditor::SendParameter(unit, tag, ConvertToAUValue(v, tag));
    controls.show(tag, v);
    feedCurve(tag, v);
}

void CZkmorva10Editor::setParameter(long index, float value) {
    if (!frame || index < 0 || index > kLastParameter || index == kInputMeterTag ||
        index == kOutputMeterTag) {
        return;
    }
    controls.show(index, value);
    feedCurve(index, value);
    if (index == kHidePanelTag) {
        HidePanel(value != 0.f);
        panelHandle->setValue(value != 0.f ? 0.f : 1.f);
    }
}

void CZkmorva10Editor::idle() {
    if (!frame) {
        return;
    }
    zkeditor::ReapUrlOpeners();
    followSampleRate(kRateScale);
    float levels[2] = {0.f, 0.f};
    for (long id : {kInputMeterTag, kOutputMeterTag}) {
        float& level = levels[id - kInputMeterTag];
        if (unit == nullptr || AudioUnitGetParameter(unit, static_cast<AudioUnitParameterID>(id),
                                                     kAudioUnitScope_Global, 0, &level) != noErr) {
            level = kNoReadingDb;
        }
    }
    SetMeters(levels, true);
    CZkmorvaEditor::idle();
}

void CZkmorva10Editor::SetMeters(float* values, bool isDecibel) {
    if (values == nullptr) {
        return;
    }
    for (std::size_t i = 0; i < meters.size(); ++i) {
        if (meters[i] != nullptr) {
            meters[i]->setValue(CalcMeters(values[i], isDecibel));
        }
    }
}

void CZkmorva10Editor::DrawAutoListen(bool on, int band) {
    if (!frame || curve == nullptr) {
        return;
    }
    curve->setCurve(CZkmorvaEqCurve::kHighlightInput, on ? 1.f : 0.f);
    if (on && band >= kFirstBandTag && band <= kLastBandTag) {
        curve->setCurve(band - kFirstBandTag, GetValue(band)); // marks the band highlighted
    }
    curve->setDirty();
}

void CZkmorva10Editor::HidePanel(bool hide) {
    if (!frame) {
        return;
    }
    const CCoord width = hide ? kCollapsedWidth : kFullWidth;
    frame->setSize(width, kHeight);
    rect = CRect(0, 0, width, kHeight);
    if (panelToggle != nullptr) {
        panelToggle->setViewSize(PanelToggleRect(width));
    }
    if (helpOpen != nullptr) {
        helpOpen->setViewSize(HelpOpenRect(width));
    }
    if (helpPages) {
        helpPages->moveTo(CZkmorvaHelpPages::CentredLeft(width));
    }
    for (CTextLabel* label : levelScale) {
        if (label != nullptr) {
            label->setVisible(!hide);
        }
    }
    frame->setDirty();
}
