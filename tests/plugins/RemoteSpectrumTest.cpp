// The spectrum analyser between a plug-in UI and its audio side, without DPF: a
// fake host hands the UI's state messages to a spectrum tap as DPF hands them to
// the plug-in, and restores a saved choice into the UI as DPF does.

#include "editor/CZkmorva20AUView.h"
#include "editor/CZkmorvaEditor.h"
#include "editor/SpectrumPanel.h"
#include "plugins/core/SpectrumTap.h"
#include "plugins/ui/EditorHost.h"
#include "units/SpectrumSettings.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct TapHost : zkplug::RemoteHost {
    explicit TapHost(zkplug::SpectrumTap& t) : tap(t) {}
    void SetParameterValue(std::uint32_t, float) override {}
    void EditParameter(std::uint32_t, bool) override {}
    void SendEditorEvent(const std::string&) override {}
    void SendState(const char* key, const std::string& value) override {
        sent.push_back(std::string(key) + "=" + value);
        if (std::strcmp(key, zkplug::kSpectrumTapKey) == 0) {
            tap.Publish(value);
        } else if (std::strcmp(key, zkplug::kSpectrumStateKey) == 0) {
            tap.RestoreSettings(value);
        }
    }
    zkplug::SpectrumTap& tap;
    std::vector<std::string> sent;
};

struct NoWindow : zkplug::EditorWindow {
    void SetSize(unsigned, unsigned) override {}
    void Repaint(int, int, int, int) override {}
};

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
TEST(RemoteSpectrum, ChoiceAndRingBetweenEditorAndAudioSide) {
    zkplug::SpectrumTap tap(2);
    TapHost host(tap);
    NoWindow window;
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
TEST(RemoteSpectrum, SettingsTextRoundTrips) {
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
