// The plug-in UI's body without DPF: the remote unit and the view host, driven
// as DPF drives them (host values, idle calls, device-pixel input, restored
// state), with a fake host that records what would go to DPF and hands the
// spectrum analyser's state messages to a spectrum tap, the audio side.

#include "editor/CZkmorva10AUView.h"
#include "editor/CZkmorva10Editor.h"
#include "editor/CZkmorva20AUView.h"
#include "editor/CZkmorva20Editor.h"
#include "editor/CZkmorvaEqCurve.h"
#include "editor/EditorSupport.h"
#include "editor/SpectrumPanel.h"
#include "editor/ValueMapping.h"
#include "plugins/core/EditorLink.h"
#include "plugins/core/SpectrumTap.h"
#include "plugins/ui/EditorHost.h"
#include "units/SpectrumSettings.h"
#include "units/ZkmorvaAU.h"
#include "widgets/CControl.h"

#include <gtest/gtest.h>

#include <cairo.h>

#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

using zkplug::AutoListenState;
using zkplug::UnitDescriptor;

struct HostCall {
    enum class Kind { Value, Begin, End, Event } kind;
    std::uint32_t index = 0;
    float value = 0.f;
    std::string message;
};

// Records what the UI sends to DPF; state messages go on to a spectrum tap as
// DPF hands them to the plug-in.
struct FakeHost : zkplug::RemoteHost {
    void SetParameterValue(std::uint32_t index, float value) override {
        calls.push_back({HostCall::Kind::Value, index, value, {}});
    }
    void EditParameter(std::uint32_t index, bool started) override {
        calls.push_back({started ? HostCall::Kind::Begin : HostCall::Kind::End, index, 0.f, {}});
    }
    void SendEditorEvent(const std::string& message) override {
        calls.push_back({HostCall::Kind::Event, 0, 0.f, message});
    }
    void SendState(const char* key, const std::string& value) override {
        sent.push_back(std::string(key) + "=" + value);
        if (tap != nullptr && std::strcmp(key, zkplug::kSpectrumTapKey) == 0) {
            tap->Publish(value);
        } else if (tap != nullptr && std::strcmp(key, zkplug::kSpectrumStateKey) == 0) {
            tap->RestoreSettings(value);
        }
    }
    std::vector<HostCall> Take() { return std::exchange(calls, {}); }
    std::vector<HostCall> calls;
    std::vector<std::string> sent; // state messages, "key=value"
    zkplug::SpectrumTap* tap = nullptr;
};

struct FakeWindow : zkplug::EditorWindow {
    void SetSize(unsigned w, unsigned h) override { sizes.emplace_back(w, h); }
    void Repaint(int x, int y, int w, int h) override { repaints.push_back({x, y, w, h}); }
    std::vector<std::pair<unsigned, unsigned>> sizes;
    std::vector<std::array<int, 4>> repaints;
};

std::uint32_t IndexOf(const UnitDescriptor& d, AudioUnitParameterID id) {
    for (std::size_t i = 0; i < d.parameters.size(); ++i) {
        if (d.parameters[i].id == id) {
            return static_cast<std::uint32_t>(i);
        }
    }
    ADD_FAILURE() << "no parameter " << id;
    return 0;
}

struct UiRig {
    UiRig(const UnitDescriptor& d, zkplug::EditorHost::ViewEntry entry, double scale = 1.0)
        : descriptor(d), editor(d, entry, host, window, scale) {
        editor.Idle(now); // arms the view's timer
    }
    // One idle call on which the view's timer is due.
    void Tick() { editor.Idle(now += 1.0); }

    CControl* Control(long tag, zkeditor::Role role = zkeditor::Role::Knob) {
        CZkmorvaEditor* e = editor.View().GetEditor();
        const zkeditor::ControlRegistry& controls =
            dynamic_cast<CZkmorva10Editor*>(e) != nullptr
                ? static_cast<CZkmorva10Editor*>(e)->getControls()
                : static_cast<CZkmorva20Editor*>(e)->getControls();
        CControl* c = controls.first(tag, role);
        EXPECT_NE(c, nullptr) << tag;
        return c;
    }
    // A control's centre in device pixels.
    std::pair<double, double> DeviceCentre(long tag, zkeditor::Role role = zkeditor::Role::Knob) {
        const CRect r = Control(tag, role)->getViewSize();
        const double s = editor.Scale();
        return {(r.left + r.right) / 2.0 * s + 0.5, (r.top + r.bottom) / 2.0 * s + 0.5};
    }
    void PressAndMove(long tag, double dyFrame) {
        const auto [x, y] = DeviceCentre(tag);
        editor.MouseDown(x, y, kLButton, clock += 1000.0);
        for (int i = 1; i <= 4; ++i) {
            editor.MouseMoved(x, y + dyFrame * editor.Scale() * i / 4, kLButton);
        }
    }
    void Release(long tag, double dyFrame) {
        const auto [x, y] = DeviceCentre(tag);
        editor.MouseUp(x, y + dyFrame * editor.Scale(), 0);
    }
    void Click(long tag, zkeditor::Role role) {
        const auto [x, y] = DeviceCentre(tag, role);
        editor.MouseDown(x, y, kLButton, clock += 1000.0);
        editor.MouseUp(x, y, 0);
    }
    float Stored(AudioUnitParameterID id) {
        AudioUnitParameterValue v = 0.f;
        EXPECT_EQ(AudioUnitGetParameter(&editor.Unit(), id, kAudioUnitScope_Global, 0, &v), noErr);
        return v;
    }

    const UnitDescriptor& descriptor;
    FakeHost host;
    FakeWindow window;
    zkplug::EditorHost editor;
    double now = 100.0;
    double clock = 0.0;
};

UiRig Rig10(double scale = 1.0) {
    return UiRig(zkplug::Zkmorva10Stereo(), &CZkmorva10AUViewEntry, scale);
}

constexpr AudioUnitParameterID kLfGain = 11; // Zkmorva 10
constexpr AudioUnitParameterID kMfQ = 17;

TEST(RemoteUnit, HostValuesReachTheControlsAndAreNotSentBack) {
    UiRig rig = Rig10();
    const zkplug::UnitDescriptor& d = rig.descriptor;
    rig.editor.ParameterChanged(IndexOf(d, kLfGain), 6.f);
    rig.editor.ParameterChanged(IndexOf(d, 38), -20.f); // input meter (an output)
    EXPECT_EQ(rig.Stored(kLfGain), 6.f);
    EXPECT_EQ(rig.Stored(38), -20.f);
    EXPECT_EQ(rig.Control(kLfGain)->getValue(), 0.5f); // not before the view's tick
    rig.Tick();
    EXPECT_FLOAT_EQ(rig.Control(kLfGain)->getValue(), zk10::ConvertToVSTValue(6.f, kLfGain));
    // The bypass and values that are not numbers are no parameter values.
    rig.editor.ParameterChanged(zkplug::BypassIndex(d), 1.f);
    rig.editor.ParameterChanged(IndexOf(d, kLfGain), std::nanf(""));
    rig.Tick();
    EXPECT_EQ(rig.Stored(kLfGain), 6.f);
    EXPECT_TRUE(rig.host.Take().empty()); // nothing echoed to the host
}

TEST(RemoteUnit, DragSendsBeginValuesEndToTheHostAndGesturesToTheDsp) {
    UiRig rig = Rig10();
    const std::uint32_t index = IndexOf(rig.descriptor, kLfGain);
    rig.PressAndMove(kLfGain, -40);
    // While the editor holds the gesture, a late host echo does not move the knob.
    const float dragged = rig.Stored(kLfGain);
    EXPECT_GT(dragged, 0.f);
    EXPECT_TRUE(rig.editor.Unit().IsInGesture(kLfGain));
    rig.editor.ParameterChanged(index, -12.f);
    EXPECT_EQ(rig.Stored(kLfGain), dragged);
    rig.Release(kLfGain, -40);
    EXPECT_FALSE(rig.editor.Unit().IsInGesture(kLfGain));

    const std::vector<HostCall> calls = rig.host.Take();
    ASSERT_GE(calls.size(), 5u);
    EXPECT_EQ(calls.front().kind, HostCall::Kind::Begin);
    EXPECT_EQ(calls.front().index, index);
    EXPECT_EQ(calls[1].kind, HostCall::Kind::Event);
    EXPECT_EQ(calls[1].message, "begin 11");
    EXPECT_EQ(calls[calls.size() - 2].kind, HostCall::Kind::End);
    EXPECT_EQ(calls[calls.size() - 2].index, index);
    EXPECT_EQ(calls.back().message, "end 11");
    float last = 0.f;
    for (std::size_t i = 2; i + 2 < calls.size(); ++i) {
        EXPECT_EQ(calls[i].kind, HostCall::Kind::Value) << i;
        EXPECT_EQ(calls[i].index, index) << i;
        EXPECT_GE(calls[i].value, last) << "an upward drag only raises the gain";
        last = calls[i].value;
    }
    EXPECT_EQ(last, dragged);
    // After the gesture the host's values count again.
    rig.editor.ParameterChanged(index, -12.f);
    EXPECT_EQ(rig.Stored(kLfGain), -12.f);
}

// A click into a text box marks it as the current control before its gesture
// begins, so the DSP does not start auto-listen for typing.
TEST(RemoteUnit, TypedValueGoesOutAfterTheTextBoxFlag) {
    UiRig rig = Rig10();
    rig.Click(kLfGain, zkeditor::Role::TextBox);
    UInt8 flag = 0;
    UInt32 size = 1;
    EXPECT_EQ(AudioUnitGetProperty(&rig.editor.Unit(), CZkmorvaAU::kTextBoxCurrentControlProperty,
                                   kAudioUnitScope_Global, 0, &flag, &size),
              noErr);
    EXPECT_EQ(flag, 1);
    for (char c : std::string("-4.5")) {
        VstKeyCode key;
        key.character = c;
        rig.editor.KeyDown(key);
    }
    VstKeyCode enter;
    enter.virt = VKEY_RETURN;
    rig.editor.KeyDown(enter);
    std::vector<std::string> events;
    std::vector<float> values;
    for (const HostCall& c : rig.host.Take()) {
        if (c.kind == HostCall::Kind::Event) {
            events.push_back(c.message);
        } else if (c.kind == HostCall::Kind::Value) {
            EXPECT_EQ(c.index, IndexOf(rig.descriptor, kLfGain));
            values.push_back(c.value);
        }
    }
    ASSERT_GE(events.size(), 2u);
    EXPECT_EQ(events[0], "textbox");
    EXPECT_EQ(events[1], "begin 11");
    ASSERT_FALSE(values.empty());
    EXPECT_FLOAT_EQ(values.back(), -4.5f);
    EXPECT_EQ(rig.Stored(kLfGain), -4.5f);
}

TEST(RemoteUnit, AutoListenDisplayComesFromTheOutputParameter) {
    UiRig rig = Rig10();
    const std::uint32_t index = zkplug::AutoListenIndex(rig.descriptor);
    CZkmorvaEqCurve* curve =
        static_cast<CZkmorva10Editor*>(rig.editor.View().GetEditor())->getCurve();
    rig.editor.ParameterChanged(index, zkplug::EncodeAutoListen({true, static_cast<SInt32>(kMfQ)}));
    CZkmorvaAU::AutoListenDisplay display{};
    UInt32 size = sizeof display;
    ASSERT_EQ(AudioUnitGetProperty(&rig.editor.Unit(), CZkmorvaAU::kAutoListenDisplayProperty,
                                   kAudioUnitScope_Global, 0, &display, &size),
              noErr);
    EXPECT_EQ(display.on, 1u);
    EXPECT_EQ(display.parameterId, static_cast<SInt32>(kMfQ));
    rig.Tick(); // the view's listener hears the property change
    EXPECT_TRUE(curve->isHighlightEnabled());
    EXPECT_EQ(curve->getHighlightedInput(), static_cast<long>(kMfQ - 6));
    rig.editor.ParameterChanged(index,
                                zkplug::EncodeAutoListen({false, static_cast<SInt32>(kMfQ)}));
    rig.Tick();
    EXPECT_FALSE(curve->isHighlightEnabled());
}

TEST(RemoteUnit, WindowFollowsThePanelInBothEditors) {
    struct Case {
        const UnitDescriptor* d;
        zkplug::EditorHost::ViewEntry entry;
        AudioUnitParameterID panel;
        std::pair<unsigned, unsigned> shown, folded;
    };
    for (const Case& c :
         {Case{&zkplug::Zkmorva10Mono(), &CZkmorva10AUViewEntry, 40, {1024, 283}, {585, 283}},
          Case{&zkplug::Zkmorva20(), &CZkmorva20AUViewEntry, 108, {1024, 530}, {1024, 283}}}) {
        UiRig rig(*c.d, c.entry);
        ASSERT_FALSE(rig.window.sizes.empty());
        EXPECT_EQ(rig.window.sizes.back(), c.shown);
        // The editor's own toggle: the host learns the panel state, the window
        // follows on the next tick.
        rig.Click(c.panel, zkeditor::Role::Value);
        std::vector<HostCall> values;
        for (const HostCall& call : rig.host.Take()) {
            if (call.kind == HostCall::Kind::Value) {
                values.push_back(call);
            }
        }
        ASSERT_EQ(values.size(), 1u);
        EXPECT_EQ(values[0].index, IndexOf(*c.d, c.panel));
        EXPECT_EQ(values[0].value, 1.f);
        rig.Tick();
        EXPECT_EQ(rig.window.sizes.back(), c.folded);
        EXPECT_EQ(rig.editor.DeviceWidth(), c.folded.first);
        // The host restores a session with the panel shown.
        rig.editor.ParameterChanged(IndexOf(*c.d, c.panel), 0.f);
        rig.Tick();
        EXPECT_EQ(rig.window.sizes.back(), c.shown);
        EXPECT_TRUE(rig.host.Take().empty());
    }
}

TEST(RemoteUnit, HiDpiScalesTheWindowDrawingAndInput) {
    UiRig rig = Rig10(2.0);
    EXPECT_EQ(rig.window.sizes.back(), std::make_pair(2048u, 566u));
    // A drag in device pixels lands on the knob under it in frame pixels.
    rig.PressAndMove(kLfGain, -40);
    rig.Release(kLfGain, -40);
    EXPECT_GT(rig.Stored(kLfGain), 0.f);
    EXPECT_EQ(rig.Stored(kLfGain - 1), 100.f); // the knob next to it is untouched (LF f)
    // Repaints are asked for in device pixels.
    rig.window.repaints.clear();
    rig.Tick();
    ASSERT_FALSE(rig.window.repaints.empty());
    const CRect knob = rig.Control(kLfGain)->getViewSize();
    bool covers = false;
    for (const auto& [x, y, w, h] : rig.window.repaints) {
        covers = covers || (x <= knob.left * 2 && y <= knob.top * 2 && x + w >= knob.right * 2 &&
                            y + h >= knob.bottom * 2);
    }
    EXPECT_TRUE(covers);
    // The whole device surface is drawn, not a 1:1 corner of it.
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 2048, 566);
    cairo_t* cr = cairo_create(surface);
    rig.editor.Draw(cr);
    cairo_surface_flush(surface);
    const unsigned char* data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    const auto alpha = [&](int x, int y) { return data[y * stride + x * 4 + 3]; };
    EXPECT_EQ(alpha(2047, 565), 255);
    EXPECT_EQ(alpha(1500, 400), 255);
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
    // Between repaints the editor keeps its picture and draws only what changed,
    // and every repaint (a new, empty surface) still gets the whole frame.
    rig.PressAndMove(kLfGain, -30);
    rig.Release(kLfGain, -30);
    rig.Tick();
    auto picture = [](auto&& draw) {
        cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 2048, 566);
        cairo_t* c = cairo_create(s);
        draw(c);
        cairo_destroy(c);
        cairo_surface_flush(s);
        const unsigned char* d = cairo_image_surface_get_data(s);
        std::vector<unsigned char> bytes(d, d + cairo_image_surface_get_stride(s) * 566);
        cairo_surface_destroy(s);
        return bytes;
    };
    const auto repainted = picture([&](cairo_t* c) { rig.editor.Draw(c); });
    const auto whole = picture([&](cairo_t* c) { rig.editor.View().Draw(c, 2.0); });
    EXPECT_TRUE(repainted == whole);
    // A new scale from the host resizes the window.
    rig.editor.ScaleChanged(1.5);
    EXPECT_EQ(rig.window.sizes.back(), std::make_pair(1536u, 425u));
    EXPECT_EQ(rig.editor.ToFrame(1536 - 1, 425 - 1).h, 1023);
}

TEST(RemoteUnit, AnswersParameterInfoAndStringsAsTheUnit) {
    for (const UnitDescriptor* d : {&zkplug::Zkmorva10Mono(), &zkplug::Zkmorva20()}) {
        FakeHost host;
        zkplug::RemoteUnit remote(*d, host);
        AudioUnitPtr unit = d->open();
        for (const zk::ParameterDef& p : d->parameters) {
            AudioUnitParameterInfo a{}, b{};
            ASSERT_EQ(remote.GetParameterInfo(kAudioUnitScope_Global, p.id, a), noErr) << p.id;
            ASSERT_EQ(unit->GetParameterInfo(kAudioUnitScope_Global, p.id, b), noErr) << p.id;
            EXPECT_EQ(a.cfNameString, b.cfNameString) << p.id;
            EXPECT_EQ(a.unit, b.unit) << p.id;
            EXPECT_EQ(a.minValue, b.minValue) << p.id;
            EXPECT_EQ(a.maxValue, b.maxValue) << p.id;
            EXPECT_EQ(a.defaultValue, b.defaultValue) << p.id;
            EXPECT_EQ(a.flags, b.flags) << p.id;
            std::vector<std::string> sa, sb;
            EXPECT_EQ(remote.GetParameterValueStrings(kAudioUnitScope_Global, p.id, &sa),
                      unit->GetParameterValueStrings(kAudioUnitScope_Global, p.id, &sb));
            EXPECT_EQ(sa, sb) << p.id;
            for (float v : {p.minValue, p.defaultValue, p.maxValue, 16.f, 24.f, -100.f}) {
                AudioUnitParameterStringFromValue ra{p.id, &v, nullptr}, rb{p.id, &v, nullptr};
                UInt32 size = sizeof ra;
                const OSStatus sa33 =
                    AudioUnitGetProperty(&remote, kAudioUnitProperty_ParameterStringFromValue,
                                         kAudioUnitScope_Global, 0, &ra, &size);
                const OSStatus sb33 =
                    AudioUnitGetProperty(unit.get(), kAudioUnitProperty_ParameterStringFromValue,
                                         kAudioUnitScope_Global, 0, &rb, &size);
                EXPECT_EQ(sa33, sb33) << p.id;
                EXPECT_EQ(ra.outString == nullptr, rb.outString == nullptr) << p.id << " " << v;
                if (ra.outString != nullptr && rb.outString != nullptr) {
                    EXPECT_STREQ(ra.outString, rb.outString) << p.id << " " << v;
                }
            }
            // Defaults until the host says otherwise.
            AudioUnitParameterValue value = -1.f;
            remote.GetParameter(p.id, kAudioUnitScope_Global, 0, value);
            EXPECT_EQ(value, p.defaultValue) << p.id;
        }
        remote.SetHostSampleRate(96000.0);
        Float64 rate = 0.0;
        UInt32 size = sizeof rate;
        ASSERT_EQ(AudioUnitGetProperty(&remote, kAudioUnitProperty_SampleRate,
                                       kAudioUnitScope_Output, 0, &rate, &size),
                  noErr);
        EXPECT_EQ(rate, 96000.0);
    }
}

// Captures one stereo block on the audio side; returns the frames it queued.
std::size_t PlayBlock(zkplug::SpectrumTap& tap) {
    const std::size_t before = tap.Ring().Available();
    std::array<float, 256> left{}, right{};
    left[0] = 1.f;
    const std::array<const float*, 2> in{left.data(), right.data()};
    tap.CaptureInputs(in.data(), 256);
    tap.CaptureOutputs(in.data());
    return tap.Ring().Available() - before;
}

// A session's choice reaches the editor; the editor then asks for the ring with
// its token and reads it; switching off goes back into the plug-in's state, and
// the audio side stops copying.
TEST(RemoteUnit, SpectrumChoiceAndRingBetweenEditorAndAudioSide) {
    zkplug::SpectrumTap tap(2);
    FakeHost host;
    host.tap = &tap;
    FakeWindow window;
    zkplug::EditorHost ui(zkplug::Zkmorva20(), &CZkmorva20AUViewEntry, host, window);
    zkeditor::SpectrumPanel* panel = ui.View().GetEditor()->getSpectrum();
    ASSERT_NE(panel, nullptr);
    EXPECT_FALSE(panel->Settings().on);
    EXPECT_EQ(PlayBlock(tap), 0u) << "copied with the analyser off";

    tap.RestoreSettings("on post ms hold"); // the host restores a session
    ui.StateChanged(zkplug::kSpectrumStateKey, "on post ms hold");
    panel->Update();
    const zk::SpectrumSettings restored = panel->Settings();
    EXPECT_TRUE(restored.on && !restored.input && restored.output && restored.midSide &&
                restored.peakHold);
    ASSERT_EQ(host.sent.size(), 1u) << "the ring request";
    EXPECT_EQ(host.sent[0].rfind(std::string(zkplug::kSpectrumTapKey) + "=", 0), 0u);
    panel->Update();
    EXPECT_TRUE(panel->IsReading());
    EXPECT_EQ(PlayBlock(tap), 256u);

    zk::SpectrumSettings off = restored;
    off.on = false;
    panel->Apply(off);
    EXPECT_EQ(host.sent.back(), "Spectrum=off post ms hold");
    EXPECT_EQ(tap.SavedSettings(), "off post ms hold");
    EXPECT_FALSE(panel->IsReading());
    EXPECT_EQ(PlayBlock(tap), 0u) << "copied after the analyser went off";
}

// Saved text round-trips; words it does not know are skipped; "pre" and "post"
// never both end up off.
TEST(RemoteUnit, SpectrumSettingsTextRoundTrips) {
    for (int bits = 0; bits < 32; ++bits) {
        zk::SpectrumSettings s{(bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0, (bits & 8) != 0,
                               (bits & 16) != 0};
        if (!s.input && !s.output) {
            continue;
        }
        EXPECT_EQ(zk::ParseSpectrumSettings(zk::FormatSpectrumSettings(s)), s) << bits;
    }
    const zk::SpectrumSettings later = zk::ParseSpectrumSettings("hold zoom=2 on");
    EXPECT_TRUE(later.on && later.peakHold && later.input && later.output);
    EXPECT_EQ(zk::ParseSpectrumSettings(""), zk::SpectrumSettings{});
    EXPECT_FALSE(zkplug::SpectrumTap::ParseToken("12x"));
    EXPECT_FALSE(zkplug::SpectrumTap::ParseToken("0"));
    EXPECT_EQ(zkplug::SpectrumTap::ParseToken(zkplug::SpectrumTap::FormatToken(0xfeedbeef1234)),
              0xfeedbeef1234u);
}

} // namespace
