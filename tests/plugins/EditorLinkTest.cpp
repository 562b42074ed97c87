// The plug-in core as a host drives it: the message format between the plug-in UI
// and the DSP, the auto-listen display value, editor gestures and host values
// applied before the block they precede, and the unit's own changes handed back.

#include "plugins/core/EditorLink.h"
#include "plugins/core/PluginCore.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

using zkplug::AutoListenState;
using zkplug::EditorEvent;
using Kind = zkplug::EditorEvent::Kind;

TEST(EditorLink, EventsReadBackAsWrittenAndNothingElseIsAccepted) {
    for (const EditorEvent& e :
         {EditorEvent{Kind::BeginGesture, 0}, EditorEvent{Kind::EndGesture, 108},
          EditorEvent{Kind::BeginGesture, 4294967295u}, EditorEvent{Kind::TextBox, 0}}) {
        const auto back = zkplug::ParseEditorEvent(zkplug::FormatEditorEvent(e));
        ASSERT_TRUE(back) << zkplug::FormatEditorEvent(e);
        EXPECT_EQ(back->kind, e.kind);
        EXPECT_EQ(back->id, e.id);
    }
    EXPECT_EQ(zkplug::FormatEditorEvent({Kind::BeginGesture, 17}), "begin 17");
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

// A core driven block by block, as a host's audio thread drives it.
class CoreDriver : private zkplug::OwnChangeSink {
public:
    explicit CoreDriver(const zkplug::UnitDescriptor& d, UInt32 frames = 256)
        : core(d), frames(frames), buffers(d.channels, std::vector<float>(frames, 0.f)) {
        EXPECT_TRUE(core.Activate(48000.0, frames));
        for (auto& b : buffers) {
            in.push_back(b.data());
            out.push_back(b.data());
        }
    }
    // One block of silence (or of `signal`, sample i = signal(i)); the unit's own
    // changes go to `reported` when `hostHears`.
    AutoListenState Block(bool hostHears = false) {
        core.Process(in.data(), out.data(), frames, hostHears ? this : nullptr);
        return zkplug::DecodeAutoListen(core.AutoListenDisplayValue());
    }
    void Set(AudioUnitParameterID id, float value) { core.SetParameter(IndexOf(id), value); }
    float Get(AudioUnitParameterID id) { return core.GetParameter(IndexOf(id)); }
    std::size_t IndexOf(AudioUnitParameterID id) const {
        for (std::size_t i = 0; i < core.Parameters().size(); ++i) {
            if (core.Parameters()[i].id == id) {
                return i;
            }
        }
        ADD_FAILURE() << "no parameter " << id;
        return 0;
    }

    zkplug::PluginCore core;
    std::vector<std::pair<std::uint32_t, float>> reported;

private:
    void ParameterSetByUnit(std::uint32_t index, float value) override {
        reported.emplace_back(index, value);
    }
    UInt32 frames;
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
        EXPECT_FALSE(driver.Block().on);
        ASSERT_TRUE(driver.core.HandleEditorEvent("begin " + std::to_string(q)));
        AutoListenState s = driver.Block();
        EXPECT_TRUE(s.on) << "the gesture is applied before the next block";
        EXPECT_EQ(s.parameterId, static_cast<SInt32>(q));
        ASSERT_TRUE(driver.core.HandleEditorEvent("end " + std::to_string(q)));
        s = driver.Block();
        EXPECT_FALSE(s.on);
        EXPECT_EQ(s.parameterId, static_cast<SInt32>(q)); // the band it was on
    }
}

TEST(EditorLink, TextBoxSuppressesTheNextGestureAndBadEventsChangeNothing) {
    CoreDriver driver(zkplug::Zkmorva10Mono());
    EXPECT_TRUE(driver.core.HandleEditorEvent("textbox"));
    EXPECT_TRUE(driver.core.HandleEditorEvent("begin 17"));
    EXPECT_FALSE(driver.Block().on); // typing in a box does not listen
    EXPECT_TRUE(driver.core.HandleEditorEvent("end 17"));
    EXPECT_TRUE(driver.core.HandleEditorEvent("begin 17"));
    EXPECT_TRUE(driver.Block().on);
    EXPECT_TRUE(driver.core.HandleEditorEvent("end 17"));
    EXPECT_FALSE(driver.Block().on);

    // Meters are outputs, 41 is no parameter of this unit: refused.
    for (const char* bad : {"begin 38", "begin 41", "begin", "ClassInfo"}) {
        EXPECT_FALSE(driver.core.HandleEditorEvent(bad)) << bad;
    }
    EXPECT_FALSE(driver.Block().on);
}

// Whichever way the editor's gesture and a value travel (DPF sends gestures by its
// state path, values by the host), a linked partner follows the value: links do
// not wait for gestures. Only where the host hears the unit's own changes does the
// unit make them; they come back as {host index, value}.
TEST(EditorLink, ALinkedValueMovesItsPartnerWhateverTheGestureOrder) {
    constexpr AudioUnitParameterID kLfGainL = 24, kLfGainR = 65;
    for (bool valueFirst : {true, false}) {
        CoreDriver driver(zkplug::Zkmorva20());
        if (valueFirst) {
            driver.Set(kLfGainL, 6.f);
            driver.Block(true);
            driver.core.HandleEditorEvent("begin 24");
        } else {
            driver.core.HandleEditorEvent("begin 24");
            driver.Block(true);
            driver.Set(kLfGainL, 6.f);
        }
        driver.Block(true);
        driver.core.HandleEditorEvent("end 24");
        driver.Block(true);
        EXPECT_EQ(driver.Get(kLfGainR), 6.f) << (valueFirst ? "value first" : "gesture first");
        ASSERT_EQ(driver.reported.size(), 1u);
        EXPECT_EQ(driver.reported[0].first, driver.IndexOf(kLfGainR));
        EXPECT_EQ(driver.reported[0].second, 6.f);
    }
    CoreDriver deaf(zkplug::Zkmorva20());
    deaf.Set(kLfGainL, 6.f);
    deaf.Block(false);
    EXPECT_EQ(deaf.Get(kLfGainL), 6.f);
    EXPECT_EQ(deaf.Get(kLfGainR), 0.f) << "a host that cannot hear it keeps what it shows";
}

// Each value a host sets before a block sounds from that block's first frame, in
// order, none merged. The output gain scales the chain's result and keeps no
// state, so block b of a run that changes it before every block must equal, bit
// for bit, block b of a run that had block b's value from the start.
TEST(EditorLink, EveryHostValueSoundsFromTheBlockItPrecedes) {
    constexpr AudioUnitParameterID kOutputGain = 4; // Zkmorva 10: "Output Gain"
    constexpr UInt32 kFrames = 64;
    const std::vector<float> gains{0.f, -6.f, 3.f, -3.f, 3.f};
    const auto run = [&](const std::vector<float>& perBlock) {
        CoreDriver driver(zkplug::Zkmorva10Mono(), kFrames);
        std::vector<std::vector<float>> blocks;
        for (std::size_t b = 0; b < perBlock.size(); ++b) {
            driver.Set(kOutputGain, 12.f); // two values in one gap: both applied, in order
            driver.Set(kOutputGain, perBlock[b]);
            std::vector<float> x(kFrames), y(kFrames);
            for (std::size_t i = 0; i < x.size(); ++i) {
                x[i] = 0.25f * std::sin(0.05f * static_cast<float>(kFrames * b + i));
            }
            const float* in = x.data();
            float* out = y.data();
            driver.core.Process(&in, &out, kFrames);
            blocks.push_back(y);
        }
        return blocks;
    };
    const auto stepped = run(gains);
    for (std::size_t b = 1; b < gains.size(); ++b) {
        const auto held = run(std::vector<float>(gains.size(), gains[b]));
        EXPECT_EQ(stepped[b], held[b]) << "block " << b << " (" << gains[b] << " dB)";
    }
}

} // namespace
