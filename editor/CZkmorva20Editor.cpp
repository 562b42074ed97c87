#include "editor/CZkmorva20Editor.h"

#include "editor/CVuMeterEX.h"
#include "editor/CZkmorvaEqCurve.h"
#include "editor/CZkmorvaHelpPages.h"
#include "editor/EditorBuild.h"
#include "editor/SpectrumPanel.h"
#include "editor/UrlOpener.h"
#include "editor/ValueMapping.h"
#include "editor/Zkmorva20Layout.h"
#include "framework/AUBase.h"
#include "resources/SkinIds.h"
#include "units/Decibels.h"
#include "units/Zkmorva20Links.h"
#include "widgets/CMovieBitmap.h"
#include "widgets/COnOffButton.h"
#include "widgets/COptionMenu.h"
#include "widgets/CTextLabel.h"

#include <algorithm>

using namespace zk20layout;

namespace {

// Channel 1 amber on red as on the channel EQ; channel 2 in blue.
constexpr std::array<CColor, 2> kCurveLine{kRedCColor, CColor{64, 170, 255, 255}};
constexpr std::array<CColor, 2> kCurveFill{CColor{255, 191, 0, 255}, CColor{120, 200, 255, 255}};

// The unit's level reading for no level at all (its meters' floor).
constexpr float kSilenceDb = zk::kMeterFloorDb;

// Curve inputs of a channel's 41 controls, by offset; -1 for the links.
constexpr std::array<long, kChannelSpan> kCurveInputOfOffset{
    0,  1,  -1, 2,  3,  4,  5,  -1, 6,  7,  8,  9,  -1, 10, 11, 12, 13, -1, 14, 15, 16,
    17, -1, 18, 19, 20, 21, -1, 22, 23, 24, -1, 25, 26, 27, -1, 28, 29, 30, -1, 31};

} // namespace

CZkmorva20Editor::CZkmorva20Editor(AudioUnit unit_) : CZkmorvaEditor(unit_) {
    Initialize();
    const CBitmap background(skin::kBackground20);
    const bool loaded = background.isLoaded();
    frameRect = CRect(0, 0, loaded ? background.getWidth() : kWidth,
                      loaded ? background.getHeight() : kFullHeight);
    rect = frameRect;
    labelColour = kWhiteCColor;
}

CZkmorva20Editor::~CZkmorva20Editor() {
    if (frame) {
        close();
    }
}

void CZkmorva20Editor::Initialize() {
    CZkmorvaEditor::Initialize();
    curves.fill(nullptr);
    meters.fill(nullptr);
    balance = nullptr;
    correlation = nullptr;
}

float CZkmorva20Editor::ConvertToVSTValue(float value, long id) {
    return zk20::ConvertToVSTValue(value, id);
}

float CZkmorva20Editor::ConvertToAUValue(float value, long id) {
    return zk20::ConvertToAUValue(value, id);
}

int CZkmorva20Editor::ChannelOf(long id) {
    if (id >= kChannelFirst[0] && id < kChannelFirst[1]) {
        return 0;
    }
    if (id >= kChannelFirst[1] && id <= kLastChannelTag) {
        return 1;
    }
    return -1;
}

long CZkmorva20Editor::CurveInput(long id) {
    const int channel = ChannelOf(id);
    if (channel < 0) {
        return -1;
    }
    return kCurveInputOfOffset[static_cast<std::size_t>(
        id - kChannelFirst[static_cast<std::size_t>(channel)])];
}

bool CZkmorva20Editor::open(void* parent) {
    CZkmorvaEditor::open(parent);
    bitmaps.load({skin::kBackground20, skin::kSmallKnob, skin::kGainKnob, skin::kJoystick,
                  skin::kSwitchSheet, skin::kPanelHandle20, skin::kLedButton, skin::kMeter52,
                  skin::kMeter76, skin::kBalanceDisplay, skin::kCorrelationDisplay,
                  skin::kRateIndicator20, skin::kHelpPageMouse, skin::kHelpPageTextEntry,
                  skin::kHelpPage20});
    const bool hidden = GetValue(kHidePanelTag) == 1.0f;

    frame = std::make_unique<CFrame>(frameRect, parent, this);
    frame->setBackground(bitmaps.get(skin::kBackground20));
    CFrame* f = frame.get();
    spectrum = std::make_unique<zkeditor::SpectrumPanel>(unit, f, zkeditor::kZkmorva20Spectrum,
                                                         true); // under the curves
    buildPanel(f);
    buildControls(f);

    helpPages = std::make_unique<CZkmorvaHelpPages>(
        this, kInternalTag, bitmaps.get(skin::kSwitchSheet),
        std::array<CBitmap*, 3>{bitmaps.get(skin::kHelpPage20), bitmaps.get(skin::kHelpPageMouse),
                                bitmaps.get(skin::kHelpPageTextEntry)},
        CZkmorvaHelpPages::CentredLeft(kWidth));
    helpPages->setOpenButton(helpOpen);

    for (long tag = kChannelFirst[0]; tag <= kLastChannelTag; ++tag) {
        feedCurve(tag, GetValue(tag));
    }
    HidePanel(hidden);
    idle();
    return true;
}

// The lower panel: curves, sample-rate indicator, meters, balance, correlation.
void CZkmorva20Editor::buildPanel(CFrame* f) {
    for (std::size_t c = 0; c < curves.size(); ++c) {
        auto curve =
            std::make_unique<CZkmorvaEqCurve>(kCurveRect, zkeditor::kCurveLowHz,
                                              zkeditor::kCurveHighHz, kCurveLine[c], kCurveFill[c]);
        curves[c] = curve.get();
        f->addView(curve.release());
    }
    auto indicator = std::make_unique<CMovieBitmap>(kRateIndicatorRect, this, kInternalTag,
                                                    bitmaps.get(skin::kRateIndicator20));
    indicator->setTransparency(true); // only the shading over the curves is drawn
    rateIndicator = indicator.get();
    f->addView(indicator.release());

    zkeditor::BuildContext context{*this, controls, f, bitmaps, labelColour};
    zkeditor::BuildLabels(context, kLabels);
    zkeditor::BuildLabels(context, kChannelNames, zkeditor::kNameColour);
    CRect levelRect = kLevelScaleLeft;
    for (const char* text : zkeditor::kLevelScale) {
        zkeditor::BuildLabel(context, levelRect, text, kNormalFont);
        levelRect.offset(kLevelScaleStepX, kLevelScaleStepY);
    }
    buildRateScale(f, kRateScale);

    std::size_t m = 0;
    for (const MeterDef& def : kUpperMeters) {
        meterValue[m] = def.value;
        meters[m++] =
            NewCVuMeterEX(def.rect, bitmaps.get(skin::kMeter52), kUpperMeterLeds, true, false, f);
    }
    for (const MeterDef& def : kLowerMeters) {
        meterValue[m] = def.value;
        meters[m++] =
            NewCVuMeterEX(def.rect, bitmaps.get(skin::kMeter76), kLowerMeterLeds, true, false, f);
    }
    auto makeDisplay = [&](const CRect& rect, int bitmap) {
        auto display = std::make_unique<CMovieBitmap>(rect, this, kDisplayTag, bitmaps.get(bitmap));
        display->setValue(0.5f);
        CMovieBitmap* raw = display.get();
        f->addView(display.release());
        return raw;
    };
    balance = makeDisplay(kBalanceRect, skin::kBalanceDisplay);
    correlation = makeDisplay(kCorrelationRect, skin::kCorrelationDisplay);

    auto handle = std::make_unique<CMovieBitmap>(kPanelHandleRect, this, kInternalTag,
                                                 bitmaps.get(skin::kPanelHandle20));
    handle->setTransparency(true);
    panelHandle = handle.get();
    f->addView(handle.release());
}

void CZkmorva20Editor::buildControls(CFrame* f) {
    zkeditor::BuildContext context{*this, controls, f, bitmaps, labelColour};
    zkeditor::BuildKnobs(context, kTopKnobs);
    zkeditor::BuildKnobs(context, kBandKnobs);
    zkeditor::BuildPads(context, kPads);
    zkeditor::BuildNames(context, kTopNames);
    zkeditor::BuildNames(context, kBandNames);
    zkeditor::BuildLeds(context, kTopLeds);
    zkeditor::BuildLeds(context, kBandLinks);
    autoListenMenu = zkeditor::BuildAutoListenMenu(context, kAutoListenMenuRect, kAutoListenModeTag,
                                                   kAutoListenModes);

    panelToggle = NewCOnOffButton(kPanelToggleRect, kHidePanelTag, bitmaps.get(skin::kSwitchSheet),
                                  true, 0.f, f);
    controls.add(panelToggle, kHidePanelTag, zkeditor::Role::Value);
    auto help = std::make_unique<COnOffButton>(kHelpOpenRect, this, kInternalTag,
                                               bitmaps.get(skin::kSwitchSheet), 0);
    help->setTransparency(true);
    helpOpen = help.get();
    f->addView(help.release());
}

void CZkmorva20Editor::feedCurve(long tag, float value) {
    const int channel = ChannelOf(tag);
    const long input = CurveInput(tag);
    if (channel < 0 || input < 0) {
        return;
    }
    if (CZkmorvaEqCurve* curve = curves[static_cast<std::size_t>(channel)]) {
        curve->setCurve(input, value);
        curve->setDirty();
    }
}

void CZkmorva20Editor::beginEdit(long tag) {
    CZkmorvaEditor::beginEdit(tag);
    if (tag < 0 || tag > kLastParameter) {
        return;
    }
    ++openGestures[static_cast<std::size_t>(tag)];
    const zk::z20links::LinkEntry e = zk::z20links::Entry(tag);
    if (e.isMember && GetUnitValue(static_cast<long>(e.ownLink)) != 0.f) {
        const long partner = static_cast<long>(e.counterpart);
        CZkmorvaEditor::beginEdit(partner);
        ++openGestures[static_cast<std::size_t>(partner)];
        partnerGesture[static_cast<std::size_t>(tag)] = partner;
    }
}

void CZkmorva20Editor::endEdit(long tag) {
    CZkmorvaEditor::endEdit(tag);
    if (tag < 0 || tag > kLastParameter) {
        return;
    }
    auto& open = openGestures[static_cast<std::size_t>(tag)];
    open = std::max(0, open - 1);
    long& partner = partnerGesture[static_cast<std::size_t>(tag)];
    if (partner != 0) {
        CZkmorvaEditor::endEdit(partner);
        auto& partnerOpen = openGestures[static_cast<std::size_t>(partner)];
        partnerOpen = std::max(0, partnerOpen - 1);
        partner = 0;
    }
}

// A parameter the answer sets outside a gesture of its own gets one around it.
void CZkmorva20Editor::sendAnswers(long tag, float unitValue) {
    if (tag < 0 || tag > static_cast<long>(zk::kZ20LastDispatched)) {
        return;
    }
    zk::z20links::ForEachAnswer(
        static_cast<AudioUnitParameterID>(tag), unitValue,
        [this](AudioUnitParameterID id) { return GetUnitValue(static_cast<long>(id)); },
        [this](AudioUnitParameterID id, float value, bool) {
            const long target = static_cast<long>(id);
            const bool bracket = openGestures[id] == 0;
            if (bracket) {
                CZkmorvaEditor::beginEdit(target);
            }
            zkeditor::SendParameter(unit, target, value);
            if (bracket) {
                CZkmorvaEditor::endEdit(target);
            }
            const float shown = ConvertToVSTValue(value, target);
            controls.show(target, shown);
            feedCurve(target, shown);
        });
}

void CZkmorva20Editor::valueChanged(CControl* control) {
    if (!frame || control == nullptr) {
        return;
    }
    if (helpPages && helpPages->handle(frame.get(), control)) {
        frame->setDirty();
        return;
    }
    if (control == rateIndicator || control == panelHandle || control == balance ||
        control == correlation) {
        return;
    }
    const long tag = control->getTag();
    const std::optional<float> changed = zkeditor::ValueOfChange(
        *this, controls.find(control), control, autoListenMenu, zk20::KindOf(tag));
    if (!changed) {
        return;
    }
    const float v = *changed;
    if (control == panelToggle) {
        HidePanel(v != 0.f);
        panelHandle->setValue(v != 0.f ? 0.f : 1.f);
    }
    const float unitValue = ConvertToAUValue(v, tag);
    zkeditor::SendParameter(unit, tag, unitValue);
    controls.show(tag, v);
    feedCurve(tag, v);
    sendAnswers(tag, unitValue);
}

void CZkmorva20Editor::setParameter(long index, float value) {
    if (!frame || index < 0 || index > kLastParameter ||
        (index >= kBalanceTag && index < kHidePanelTag)) {
        return;
    }
    controls.show(index, value);
    feedCurve(index, value);
    if (index == kHidePanelTag) {
        HidePanel(value != 0.f);
        panelHandle->setValue(value != 0.f ? 0.f : 1.f);
    }
}

void CZkmorva20Editor::idle() {
    if (!frame) {
        return;
    }
    zkeditor::ReapUrlOpeners();
    followSampleRate(kRateScale);
    auto read = [this](long id, float fallback) {
        AudioUnitParameterValue value = fallback;
        if (unit == nullptr || AudioUnitGetParameter(unit, static_cast<AudioUnitParameterID>(id),
                                                     kAudioUnitScope_Global, 0, &value) != noErr) {
            value = fallback;
        }
        return value;
    };
    std::array<float, kMeterValues> values{};
    for (std::size_t i = 0; i < kLevelValues; ++i) {
        values[i] = read(kFirstLevelMeterTag + static_cast<long>(i), kSilenceDb);
    }
    // Where the balance and correlation parameters start (their defaults).
    const float restBalance = GetDefaultValue(kBalanceTag);
    const float restCorrelation = GetDefaultValue(kCorrelationTag);
    values[kBalanceValue] = read(kBalanceTag, restBalance);
    values[kCorrelationValue] = read(kCorrelationTag, restCorrelation);
    // With neither output above the silence floor (before any audio the unit's
    // smoothed readings still stand at the hard left and -1) there is nothing to
    // balance or correlate: both displays rest where their parameters start.
    if (values[kOutput1Value] <= kSilenceDb && values[kOutput2Value] <= kSilenceDb) {
        values[kBalanceValue] = restBalance;
        values[kCorrelationValue] = restCorrelation;
    }
    values[kCorrelationValue] = values[kCorrelationValue] * 0.5f + 0.5f; // -1..+1 onto 0..1
    SetMeters(values.data(), true);
    CZkmorvaEditor::idle();
}

void CZkmorva20Editor::SetMeters(float* values, bool isDecibel) {
    if (!frame || values == nullptr) {
        return;
    }
    for (std::size_t i = 0; i < meters.size(); ++i) {
        if (meters[i] != nullptr) {
            meters[i]->setValue(
                CalcMeters(values[static_cast<std::size_t>(meterValue[i])], isDecibel));
        }
    }
    if (balance != nullptr) {
        balance->setValue(values[kBalanceValue]);
    }
    if (correlation != nullptr) {
        correlation->setValue(values[kCorrelationValue]);
    }
}

void CZkmorva20Editor::DrawAutoListen(bool on, int band) {
    if (!frame) {
        return;
    }
    const int channel = ChannelOf(band);
    const long input = CurveInput(band);
    // A linked section is heard on both channels (channel 1's switch decides, as
    // in the unit's routing), so both curves light.
    const zk::z20links::LinkEntry link = zk::z20links::Entry(band);
    const bool linked = link.channel1Link != zk::z20links::kNone &&
                        GetUnitValue(static_cast<long>(link.channel1Link)) != 0.f;
    for (std::size_t c = 0; c < curves.size(); ++c) {
        CZkmorvaEqCurve* curve = curves[c];
        if (curve == nullptr) {
            continue;
        }
        const bool own = channel == static_cast<int>(c);
        const bool lit = on && input >= 0 && (own || linked);
        curve->setCurve(CZkmorvaEqCurve::kHighlightInput, lit ? 1.f : 0.f);
        if (lit) {
            // marks the band highlighted
            curve->setCurve(input, GetValue(own ? band : static_cast<long>(link.counterpart)));
        }
        curve->setDirty();
    }
}

void CZkmorva20Editor::HidePanel(bool hide) {
    if (!frame) {
        return;
    }
    const CCoord height = hide ? kCollapsedHeight : kFullHeight;
    frame->setSize(kWidth, height);
    rect = CRect(0, 0, kWidth, height);
    frame->setDirty();
}
