#include "CliTestSupport.h"
#include "cli/CliError.h"
#include "cli/Commands.h"
#include "cli/OutputPath.h"
#include "cli/Presets.h"
#include "units/Zkmorva10AU.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using namespace zkclitest;

const std::vector<std::string> kSettings = {
    "LF Q=lo-shelf",  "LF Gain=4", "MF f=2,5 kHz",          "MF Gain=-6 dB",
    "HP Q=18dB/oct.", "HP f=60",   "Auto listen mode=- f G"};

int Cli(std::vector<std::string> args, std::string* out = nullptr, std::string* err = nullptr) {
    std::ostringstream o, e;
    const int status = zkcli::RunCommandLine(args, {o, e, false});
    if (out) {
        *out = o.str();
    }
    if (err) {
        *err = e.str();
    }
    return status;
}

// Written, read back and rendered: the same file as the same values given by --set.
TEST(Preset, RoundTripRendersLikeTheSameSettings) {
    ScratchFolder dir;
    WriteAudio(dir / "in.wav", TestSignal(2, 20000));
    std::vector<std::string> write = {"preset", "write", (dir / "p.aupreset").string(), "--name",
                                      "Bright"};
    std::vector<std::string> render = {"render", (dir / "in.wav").string(),
                                       (dir / "by-set.wav").string()};
    for (const auto& s : kSettings) {
        write.insert(write.end(), {"--set", s});
        render.insert(render.end(), {"--set", s});
    }
    ASSERT_EQ(Cli(write), 0);
    ASSERT_EQ(Cli(render), 0);
    ASSERT_EQ(Cli({"render", (dir / "in.wav").string(), (dir / "by-preset.wav").string(),
                   "--preset", (dir / "p.aupreset").string()}),
              0);
    EXPECT_TRUE(FileBytes(dir / "by-set.wav") == FileBytes(dir / "by-preset.wav"));
    EXPECT_FALSE(FileBytes(dir / "by-set.wav") == FileBytes(dir / "in.wav"));

    std::string shown;
    ASSERT_EQ(Cli({"preset", "show", (dir / "p.aupreset").string()}, &shown), 0);
    EXPECT_NE(shown.find("Zkmorva 10 preset \"Bright\""), std::string::npos) << shown;
    EXPECT_NE(shown.find("* MF f = 2500 Hz"), std::string::npos) << shown;
    EXPECT_NE(shown.find("* MF Gain = -6 dB"), std::string::npos) << shown;
    EXPECT_NE(shown.find("* LF Q = 0.28 (lo-shelf)"), std::string::npos) << shown;
    EXPECT_NE(shown.find("* HP Q = 21 (18dB/oct.)"), std::string::npos) << shown;
    EXPECT_NE(shown.find("* Auto listen mode = - f G"), std::string::npos) << shown;
    EXPECT_NE(shown.find("  LMF Gain = 0 dB"), std::string::npos) << shown;
}

// A state saved by the unit itself (as the plug-ins save it) is a preset here, and a
// preset written here restores into the unit with the same values.
TEST(Preset, SameDocumentAsTheUnitsOwnSavedState) {
    ScratchFolder dir;
    AudioUnitPtr unit = OpenZkmorva10();
    ASSERT_EQ(unit->SetParameter(zk::kZ10HmfGain, kAudioUnitScope_Global, 0, 5.5f, 0), noErr);
    ASSERT_EQ(unit->SetParameter(zk::kZ10PhaseRev, kAudioUnitScope_Global, 0, 1.0f, 0), noErr);
    unit->SetPresetName("From a host");
    zkcli::WriteTextFile(dir / "host.aupreset", unit->SaveState());

    const zkcli::Preset preset = zkcli::ReadPreset(dir / "host.aupreset");
    EXPECT_EQ(preset.unit, zkcli::FindUnit("10"));
    EXPECT_EQ(preset.name, "From a host");
    int checked = 0;
    for (const auto& [def, value] : zkcli::PresetValues(preset)) {
        AudioUnitParameterValue v = 0;
        unit->PeekParameter(kAudioUnitScope_Global, 0, def->id, v);
        EXPECT_EQ(value, v) << def->name;
        ++checked;
    }
    EXPECT_EQ(checked, 39); // every parameter but the two meters

    ASSERT_EQ(Cli({"preset", "write", (dir / "cli.aupreset").string(), "--set", "HMF Gain=5.5",
                   "--set", "PhaseRev=on", "--name", "From a host"}),
              0);
    AudioUnitPtr fresh = OpenZkmorva10();
    std::string error;
    ASSERT_EQ(fresh->RestoreState(FileBytes(dir / "cli.aupreset"), &error), noErr) << error;
    AudioUnitParameterValue hmf = 0, phase = 0;
    fresh->PeekParameter(kAudioUnitScope_Global, 0, zk::kZ10HmfGain, hmf);
    fresh->PeekParameter(kAudioUnitScope_Global, 0, zk::kZ10PhaseRev, phase);
    EXPECT_EQ(hmf, 5.5f);
    EXPECT_EQ(phase, 1.0f);
    EXPECT_EQ(FileBytes(dir / "cli.aupreset"), unit->SaveState());
}

TEST(Preset, WriteFromAPresetKeepsItsValuesAndAddsSettings) {
    ScratchFolder dir;
    ASSERT_EQ(Cli({"preset", "write", (dir / "a.aupreset").string(), "--set", "LF Gain=2"}), 0);
    ASSERT_EQ(Cli({"preset", "write", (dir / "b.aupreset").string(), "--from",
                   (dir / "a.aupreset").string(), "--set", "HF Gain=-1"}),
              0);
    const auto values = zkcli::PresetValues(zkcli::ReadPreset(dir / "b.aupreset"));
    int seen = 0;
    for (const auto& [def, v] : values) {
        if (def->id == zk::kZ10LfGain) {
            EXPECT_EQ(v, 2.0f);
            ++seen;
        }
        if (def->id == zk::kZ10HfGain) {
            EXPECT_EQ(v, -1.0f);
            ++seen;
        }
    }
    EXPECT_EQ(seen, 2);
}

TEST(Preset, ForeignAndMalformedDocumentsAreRefusedWithTheirName) {
    ScratchFolder dir;
    AudioUnitPtr unit = OpenZkmorva10();
    std::string doc = unit->SaveState();
    const std::string subtype = std::to_string(MakeFourCC("Zk10"));
    doc.replace(doc.find(subtype), subtype.size(), std::to_string(MakeFourCC("Othr")));
    zkcli::WriteTextFile(dir / "foreign.aupreset", doc);
    zkcli::WriteTextFile(dir / "broken.aupreset", "<plist><dict><key>type</key>");
    try {
        zkcli::ReadPreset(dir / "foreign.aupreset");
        FAIL() << "a foreign preset was accepted";
    } catch (const zkcli::CliError& e) {
        EXPECT_NE(std::string(e.what()).find("foreign.aupreset"), std::string::npos);
        EXPECT_NE(std::string(e.what()).find("'Othr'"), std::string::npos) << e.what();
    }
    try {
        zkcli::ReadPreset(dir / "broken.aupreset");
        FAIL() << "a malformed preset was accepted";
    } catch (const zkcli::CliError& e) {
        EXPECT_NE(std::string(e.what()).find("broken.aupreset"), std::string::npos);
        EXPECT_NE(std::string(e.what()).find("not a preset document"), std::string::npos)
            << e.what();
    }
}

} // namespace
