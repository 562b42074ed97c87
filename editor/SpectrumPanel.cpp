#include "editor/SpectrumPanel.h"

#include "editor/CTextButton.h"
#include "editor/CZkmorvaSpectrumView.h"
#include "editor/EditorBuild.h"
#include "editor/EditorSupport.h"
#include "editor/spectrum/SpectrumAnalyser.h"
#include "editor/spectrum/SpectrumMath.h"
#include "framework/AUBase.h"
#include "framework/SampleRing.h"
#include "widgets/CFrame.h"

#include <algorithm>

namespace zkeditor {

namespace {

// The curve's axis: the spectrum lies under it column for column.
constexpr double kLowHz = kCurveLowHz;
constexpr double kHighHz = kCurveHighHz;
// Samples read per pass, per slot.
constexpr std::size_t kReadFrames = 4096;

constexpr const char* kSwitchTexts[SpectrumPanel::kSwitchCount] = {"Spectrum", "in",  "out",
                                                                   "L/R",      "M/S", "hold"};

constexpr const char* kElsewhere = "Spectrum: the host runs the audio in another process";
constexpr const char* kTaken = "Spectrum: shown in another editor of this instance";

} // namespace

SpectrumPanel::SpectrumPanel(AudioUnit unit_, CFrame* frame_, const SpectrumLayout& layout_,
                             bool twoChannels_)
    : unit(unit_), frame(frame_), layout(layout_), twoChannels(twoChannels_) {
    auto spectrumView = std::make_unique<CZkmorvaSpectrumView>(layout.view);
    view = spectrumView.get();
    frame->addView(spectrumView.release());
    const CRect rects[kSwitchCount] = {layout.onSwitch, layout.inSwitch, layout.outSwitch,
                                       layout.lrSwitch, layout.msSwitch, layout.holdSwitch};
    for (std::size_t i = 0; i < kSwitchCount; ++i) {
        if (rects[i].isEmpty()) {
            continue;
        }
        // Negative tags: no parameter, so no gesture reaches the unit.
        auto button = std::make_unique<CTextButton>(rects[i], this, -1 - static_cast<long>(i),
                                                    kSwitchTexts[i], kNameColour, nullptr, 0);
        button->setFont(kNormalFontSmaller);
        button->setFrameColor(kTransparentCColor);
        button->setTransparency(true);
        switches[i] = button.get();
        frame->addView(button.release());
    }
    const int columns = std::max(layout.view.width(), 0);
    for (int c = 0; c < columns; ++c) {
        columnHz.push_back(zkspectrum::FrequencyOfColumn(c, columns, kLowHz, kHighHz));
    }
    zk::SpectrumSettings saved;
    UInt32 size = sizeof saved;
    if (unit != nullptr &&
        AudioUnitGetProperty(unit, zk::kSpectrumSettingsProperty, kAudioUnitScope_Global, 0, &saved,
                             &size) == noErr) {
        settings = unitSettings = saved;
    }
    ShowSwitches();
}

SpectrumPanel::~SpectrumPanel() {
    Detach();
}

void SpectrumPanel::valueChanged(CControl* control) {
    zk::SpectrumSettings s = settings;
    const bool on = control->getValue() != 0.f;
    if (control == getSwitch(Switch::On)) {
        s.on = on;
    } else if (control == getSwitch(Switch::In)) {
        s.input = on || !s.output; // one of the two stays on
    } else if (control == getSwitch(Switch::Out)) {
        s.output = on || !s.input;
    } else if (control == getSwitch(Switch::LeftRight)) {
        s.midSide = false;
    } else if (control == getSwitch(Switch::MidSide)) {
        s.midSide = true;
    } else if (control == getSwitch(Switch::Hold)) {
        s.peakHold = on;
    }
    Apply(s);
}

void SpectrumPanel::Apply(const zk::SpectrumSettings& wanted) {
    const bool holdStarts = wanted.peakHold && !settings.peakHold;
    settings = wanted;
    if (unit != nullptr &&
        AudioUnitSetProperty(unit, zk::kSpectrumSettingsProperty, kAudioUnitScope_Global, 0,
                             &settings, sizeof settings) == noErr) {
        unitSettings = settings;
    }
    if (holdStarts) {
        for (Stream& s : streams) {
            s.analyser->ResetPeaks();
        }
    }
    ShowSwitches();
    Update();
}

void SpectrumPanel::ShowSwitches() {
    const float values[kSwitchCount] = {
        settings.on ? 1.f : 0.f,      settings.input ? 1.f : 0.f,   settings.output ? 1.f : 0.f,
        settings.midSide ? 0.f : 1.f, settings.midSide ? 1.f : 0.f, settings.peakHold ? 1.f : 0.f};
    for (std::size_t i = 0; i < kSwitchCount; ++i) {
        if (CTextButton* button = switches[i]) {
            button->setValue(values[i]);
            button->setDirty();
        }
    }
}

void SpectrumPanel::UseRing(SampleRing* ring) {
    Detach();
    ownRing = ring;
}

bool SpectrumPanel::Animate(double now) {
    if (now < nextFrame) {
        return false;
    }
    // A late frame does not make up for missed ones.
    if (nextFrame < 0.0 || now - nextFrame > kFrameInterval) {
        nextFrame = now;
    }
    nextFrame += kFrameInterval;
    Update();
    return true;
}

bool SpectrumPanel::InSight() const {
    const CRect& area = frame->getViewSize();
    return layout.view.right <= area.right && layout.view.bottom <= area.bottom;
}

SampleRing* SpectrumPanel::FindRing() {
    if (ownRing != nullptr) {
        return ownRing;
    }
    SampleRing* ring = nullptr;
    UInt32 size = sizeof ring;
    if (unit == nullptr || AudioUnitGetProperty(unit, zk::kSpectrumRingProperty,
                                                kAudioUnitScope_Global, 0, &ring, &size) != noErr) {
        return nullptr;
    }
    return ring;
}

void SpectrumPanel::Detach() {
    if (reading != nullptr) {
        reading->Detach();
        reading = nullptr;
    }
}

void SpectrumPanel::Update() {
    zk::SpectrumSettings saved;
    UInt32 size = sizeof saved;
    if (unit != nullptr &&
        AudioUnitGetProperty(unit, zk::kSpectrumSettingsProperty, kAudioUnitScope_Global, 0, &saved,
                             &size) == noErr &&
        !(saved == unitSettings)) {
        // Restored by the host.
        settings = unitSettings = saved;
        ShowSwitches();
    }
    if (!settings.on || !InSight()) {
        // Nothing is copied on the audio side while nobody reads.
        Detach();
        streams.clear();
        view->clearTraces();
        view->setNote("");
        return;
    }
    SampleRing* ring = FindRing();
    if (ring != reading) {
        Detach();
        if (ring != nullptr && ring->Attach()) {
            reading = ring;
        }
        streams.clear();
    }
    if (reading == nullptr) {
        view->clearTraces();
        view->setNote(ring == nullptr ? kElsewhere : kTaken);
        return;
    }
    view->setNote("");
    const double rate = ReadSampleRate(unit);
    Configure(reading->Slots() / 2, rate > 0.0 ? rate : 48000.0);
    ReadRing();
    ShowTraces();
}

void SpectrumPanel::Configure(std::size_t ringChannels, double rate) {
    if (!streams.empty() && ringChannels == configuredChannels && rate == configuredRate &&
        settings.input == configuredFor.input && settings.output == configuredFor.output &&
        settings.midSide == configuredFor.midSide) {
        return;
    }
    streams.clear();
    configuredChannels = ringChannels;
    configuredRate = rate;
    configuredFor = settings;
    const bool perChannel = twoChannels && ringChannels == 2;
    const int traces = perChannel ? 2 : 1;
    const int averaged = perChannel ? 1 : static_cast<int>(std::max<std::size_t>(ringChannels, 1));
    for (bool output : {false, true}) {
        if (output ? !settings.output : !settings.input) {
            continue;
        }
        for (int c = 0; c < traces; ++c) {
            streams.push_back(
                {std::make_unique<zkspectrum::SpectrumAnalyser>(rate, columnHz, averaged), output,
                 perChannel ? c : -1});
        }
    }
    scratch.assign(2 * ringChannels, std::vector<float>(kReadFrames));
}

void SpectrumPanel::ReadRing() {
    const std::size_t channels = configuredChannels;
    if (streams.empty() || channels == 0) {
        return;
    }
    // After a stall only the latest frames matter.
    const std::size_t keep = 2 * streams.front().analyser->FrameSize();
    const std::size_t queued = reading->Available();
    if (queued > keep) {
        slotPointers.assign(reading->Slots(), nullptr);
        reading->Read(slotPointers, queued - keep);
    }
    std::vector<float*>& out = slotPointers;
    out.resize(reading->Slots());
    for (std::size_t s = 0; s < out.size(); ++s) {
        out[s] = scratch[s].data();
    }
    for (;;) {
        const std::size_t n = reading->Read(out, kReadFrames);
        if (n == 0) {
            break;
        }
        for (std::size_t side = 0; side < 2; ++side) { // inputs, then outputs
            float* first = scratch[side * channels].data();
            if (settings.midSide && channels == 2) {
                float* second = scratch[side * channels + 1].data();
                for (std::size_t i = 0; i < n; ++i) {
                    const float mid = 0.5f * (first[i] + second[i]);
                    second[i] = 0.5f * (first[i] - second[i]);
                    first[i] = mid;
                }
            }
            for (Stream& stream : streams) {
                if (stream.output != (side == 1)) {
                    continue;
                }
                if (stream.channel < 0) {
                    stream.analyser->Push(
                        std::span<float* const>(out.data() + side * channels, channels), n);
                } else {
                    stream.analyser->Push(out[side * channels + stream.channel], n);
                }
            }
        }
    }
}

void SpectrumPanel::ShowTraces() {
    std::size_t count = 0;
    for (Stream& stream : streams) {
        if (count == traces.size()) {
            break;
        }
        CZkmorvaSpectrumView::Trace& t = traces[count++];
        const auto levels = stream.analyser->Levels();
        t.levels.assign(levels.begin(), levels.end());
        t.peaks.clear();
        if (settings.peakHold) {
            const auto peaks = stream.analyser->Peaks();
            t.peaks.assign(peaks.begin(), peaks.end());
        }
        const CColor colour = layout.channelColour[std::max(stream.channel, 0)];
        t.colour = stream.output ? colour : (stream.channel < 0 ? layout.inputColour : colour);
        t.output = stream.output;
    }
    view->setTraces(std::span(traces.data(), count));
}

} // namespace zkeditor
