// The editor link on the DSP side: the message format between the plug-in UI and
// the DSP, the auto-listen display value, and a plug-in core that turns editor
// events into gestures of its unit.

#include "plugins/core/EditorLink.h"
#include "plugins/core/PluginCore.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

namespace {

using zkplug::AutoListenState;
using zkplug::EditorEvent;
using Kind = zkplug::EditorEvent::Kind;

TEST(EditorLink, EventsReadBackAsWrittenAndNothingElseIsAccepted) {
    for (const EditorEvent& e :
         {EditorEvent{Kind::kBeginGesture, 0}, EditorEvent{Kind::kEndGesture, 108},
          EditorEvent{Kind::kBeginGesture, 4294967295u}, EditorEvent{Kind::kTextBox, 0}}) {
        const auto back = zkplug::ParseEditorEvent(zkplug::FormatEditorEvent(e));
        ASSERT_TRUE(back) << zkplug::FormatEditorEvent(e);
        EXPECT_EQ(back->kind, e.kind);
        EXPECT_EQ(back->id, e.id);
    }
    EXPECT_EQ(zkplug::FormatEditorEvent({Kind::kBeginGesture, 17}), "begin 17");
    for (const char* bad : {"", "begin", "begin ", "begin x", "begin 12x", "begin -1", "begin +1",
                            "end 4294967296", "textbox ", "Begin 1", "begin  1", "ClassInfo"}) {
        EXPECT_FALSE(zkplug::ParseEditorEvent(bad)) << '"' << bad << '"';
    }
}

TEST(EditorLink, AutoListenDisplaySurvivesTheOutputParameterForEveryParameterId) {
    for (SInt32 id = 0; id <= 108; ++id) {
        for (bool on : {false, true}) {
            const float v = zkplug::EncodeAutoListen({on, id});
            EXPECT_LE(v, zkplug::kMaxAutoListenValue);
            const AutoListenState back = zkplug::DecodeAutoListen(v);
            EXPECT_EQ(back.on, on);
            EXPECT_EQ(back.parameterId, id);
            // Hosts may hand an output value back with float noise.
            EXPECT_EQ(zkplug::DecodeAutoListen(v + 0.25f).parameterId, id);
        }
    }
    for (float junk : {-1.f, zkplug::kMaxAutoListenValue + 1.f, std::nanf(""), 1e30f}) {
        const AutoListenState s = zkplug::DecodeAutoListen(junk);
        EXPECT_FALSE(s.on) << junk;
        EXPECT_EQ(s.parameterId, 0) << junk;
    }
}


// A core running on the dummy host's thread: blocks of silence until the
// auto-listen display reads `want` (the unit's listener thread hands gestures
// to the next block).
class CoreDriver {
public:
    explicit CoreDriver(const zkplug::UnitDescriptor& d)
        : core(d), buffers(d.channels, std::vector<float>(256, 0.f)) {
        EXPECT_TRUE(core.Activate(48000.0, 256));
        for (auto& b : buffers) {
            in.push_back(b.data());
            out.push_back(b.data());
        }
    }
    // Waits up to `blocks` blocks (5 ms apart); a state that must not come is
    // given a few listener intervals.
    AutoListenState RunUntil(AutoListenState want, int blocks = 200) {
        AutoListenState now{};
        for (int i = 0; i < blocks; ++i) {
            core.Process(in.data(), out.data(), 256);
            now = zkplug::DecodeAutoListen(core.AutoListenDisplayValue());
            if (now.on == want.on && (!want.on || now.parameterId == want.parameterId)) {
                break;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return now;
    }
    zkplug::PluginCore core;

private:
    std::vector<std::vector<float>> buffers;
    std::vector<const float*> in;
    std::vector<float*> out;
};

TEST(EditorLink, GesturesFromTheEditorStartAndEndAutoListenInTheCore) {
    for (const zkplug::UnitDescriptor* d : {&zkplug::Zkmorva10Stereo(), &zkplug::Zkmorva20()}) {
        CoreDriver driver(*d);
        // A band Q control: auto-listen mode 6 (the default) covers it; Zkmorva 20's
        // display names the control touched, linked or not.
        const bool twenty = d == &zkplug::Zkmorva20();
        const AudioUnitParameterID q = twenty ? 32 : 17;
        EXPECT_FALSE(driver.RunUntil({}).on);
        ASSERT_TRUE(driver.core.HandleEditorEvent("begin " + std::to_string(q)));
        AutoListenState s = driver.RunUntil({true, static_cast<SInt32>(q)});
        EXPECT_TRUE(s.on);
        EXPECT_EQ(s.parameterId, static_cast<SInt32>(q));
        ASSERT_TRUE(driver.core.HandleEditorEvent("end " + std::to_string(q)));
        s = driver.RunUntil({false, 0});
        EXPECT_FALSE(s.on);
        EXPECT_EQ(s.parameterId, static_cast<SInt32>(q)); // the band it was on
    }
}

TEST(EditorLink, TextBoxSuppressesTheNextGestureAndBadEventsChangeNothing) {
    CoreDriver driver(zkplug::Zkmorva10Mono());
    EXPECT_TRUE(driver.core.HandleEditorEvent("textbox"));
    EXPECT_TRUE(driver.core.HandleEditorEvent("begin 17"));
    EXPECT_FALSE(driver.RunUntil({true, 17}, 40).on); // typing in a box does not listen
    EXPECT_TRUE(driver.core.HandleEditorEvent("end 17"));
    EXPECT_TRUE(driver.core.HandleEditorEvent("begin 17"));
    EXPECT_TRUE(driver.RunUntil({true, 17}).on);
    EXPECT_TRUE(driver.core.HandleEditorEvent("end 17"));
    EXPECT_FALSE(driver.RunUntil({false, 0}).on);

    // Meters are outputs, 41 is no parameter of this unit: refused.
    for (const char* bad : {"begin 38", "begin 41", "begin", "ClassInfo"}) {
        EXPECT_FALSE(driver.core.HandleEditorEvent(bad)) << bad;
    }
    EXPECT_FALSE(driver.RunUntil({true, 38}, 40).on);
}

} // namespace
