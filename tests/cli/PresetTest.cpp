#include "CliTestSupport.h"
#include "cli/CliError.h"
#include "cli/OutputPath.h"
#include "cli/Presets.h"
#include "units/Zkmorva10AU.h"

#include <gtest/gtest.h>

namespace {

using namespace zkclitest;

const std::vector<std::string> kSettings = {
    "LF Q=lo-shelf",  "LF Gain=4", "MF f=2,5 kHz",          "MF Gain=-6 dB",
    "HP Q=18dB/oct.", "HP f=60",   "Auto listen mode=- f G"};

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
    ASSERT_EQ(RunCli(write), 0);
    ASSERT_EQ(RunCli(render), 0);
    ASSERT_EQ(RunCli({"render", (dir / "in.wav").string(), (dir / "by-preset.wav").string(),
                      "--preset", (dir / "p.aupreset").string()}),
              0);
    EXPECT_TRUE(FileBytes(dir / "by-set.wav") == FileBytes(dir / "by-preset.wav"));
    EXPECT_FALSE(FileBytes(dir / "by-set.wav") == FileBytes(dir / "in.wav"));

    std::string shown;
    ASSERT_EQ(RunCli({"preset", "show", (dir / "p.aupreset").string()}, &shown), 0);
    EXPECT_NE(shown.find("Zkmorva 10 preset \"Bright\""), std::string::npos) << shown;
    EXPECT_NE(shown.find("* MF f = 2500 Hz"), std::string::npos) << shown;
    EXPECT_NE(shown.find("* MF Gain = -6 dB"), std::string::npos) << shown;
    EXPECT_NE(shown.find("  LF Q = 0.29 (lo-shelf)"), std::string::npos) << shown;
    EXPECT_NE(shown.find("* HP Q = 20 (18dB/oct.)"), std::string::npos) << shown;
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

    ASSERT_EQ(RunCli({"preset", "write", (dir / "cli.aupreset").string(), "--set", "HMF Gain=5.5",
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
    ASSERT_EQ(RunCli({"preset", "write", (dir / "a.aupreset").string(), "--set", "LF Gain=2"}), 0);
    ASSERT_EQ(RunCli({"preset", "write", (dir / "b.aupreset").string(), "--from",
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

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

// One hostile file of each kind, in each format it can come in: the render fails with
// a message naming the file and the fault, and leaves no output behind.
TEST(Preset, HostileFilesAreRefusedByNameAndNothingIsRendered) {
    ScratchFolder dir;
    WriteAudio(dir / "in.wav", TestSignal(2, 4800));
    for (const char* f : {"g.ttl", "g.state", "g.aupreset"}) {
        ASSERT_EQ(RunCli({"preset", "write", (dir / f).string(), "--unit", "20", "--set",
                          "LF L Gain=3", "--set", "LF R Gain=3"}),
                  0);
    }
    const std::string ttl = FileBytes(dir / "g.ttl"), blob = FileBytes(dir / "g.state");
    const std::string plist = FileBytes(dir / "g.aupreset");
    const std::string gainPort = "lv2:symbol \"Eq1LfGain\" ;\n        pset:value 3.0";
    std::string doc10 = OpenZkmorva10()->SaveState();
    AudioUnitPtr loud = OpenZkmorva10();
    ASSERT_EQ(loud->SetParameter(zk::kZ10LfGain, kAudioUnitScope_Global, 0, 40.0f, 0), noErr);
    const std::string subtype = std::to_string(MakeFourCC("Zk10"));
    struct Case {
        std::string file, content, fault;
        std::vector<std::string> extra = {};
    };
    const std::vector<Case> cases = {
        {"foreign.aupreset", Replaced(doc10, subtype, std::to_string(MakeFourCC("Othr"))),
         "belongs to another product (type"},
        {"other-plugin.ttl",
         Replaced(ttl, "<urn:zkmorva:zkmorva20>", "<http://example.org/plugins/eq12>"),
         "applies to <http://example.org/plugins/eq12>, not to a Zkmorva plug-in"},
        {"state-of-10.ttl",
         Replaced(ttl, ttl.substr(ttl.find("<urn:distrho:ClassInfo> \"")),
                  "<urn:distrho:ClassInfo> " + zkcli::TurtleString(doc10) + "\n    ] .\n"),
         "applies to Zkmorva 20 but its state is another unit's"},
        {"for-20.aupreset", plist, "is for Zkmorva 20, not Zkmorva 10", {"--unit", "10"}},
        {"unknown.ttl", Replaced(ttl, "\"Eq1LfGain\"", "\"Eq1LfBoost\""),
         "sets \"Eq1LfBoost\", which Zkmorva 20 does not have"},
        {"unknown.state",
         Replaced(blob, std::string("Eq1LfGain\0", 10), std::string("Eq1LfBoost\0", 11)),
         "sets \"Eq1LfBoost\", which Zkmorva 20 does not have"},
        {"range.ttl", Replaced(ttl, gainPort, Replaced(gainPort, "3.0", "40.0")),
         "gives \"LF L Gain\" (Eq1LfGain) the value 40, outside its range -12 to 12"},
        {"range.state",
         Replaced(blob,
                  std::string("Eq1LfGain\0"
                              "3",
                              11),
                  std::string("Eq1LfGain\0"
                              "-30",
                              13)),
         "gives \"LF L Gain\" (Eq1LfGain) the value -30, outside its range -12 to 12"},
        {"range.aupreset", loud->SaveState(),
         "gives \"LF Gain\" (LfGain) the value 40, outside its range -12 to 12"},
        {"cut.aupreset", plist.substr(0, plist.size() / 2), "is not a preset document"},
        {"cut.ttl", ttl.substr(0, ttl.size() / 2), "is not a readable LV2 preset: line"},
        {"cut.state", blob.substr(0, blob.size() / 2), "is a truncated plug-in state"},
        {"cut.vstpreset",
         zkcli::VstPresetFile(zkcli::DpfVst3ClassId("Zk20"), blob).substr(0, blob.size() / 2),
         "is a truncated VST3 preset"},
        {"empty.ttl", "", "is empty"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        zkcli::WriteTextFile(dir / c.file, c.content);
        std::vector<std::string> args = {"render", (dir / "in.wav").string(),
                                         (dir / "out.wav").string(), "--preset",
                                         (dir / c.file).string()};
        args.insert(args.end(), c.extra.begin(), c.extra.end());
        const RunResult r = RunZkmorva(args, dir / "run");
        EXPECT_EQ(r.status, 1);
        EXPECT_NE(r.err.find((dir / c.file).string()), std::string::npos) << r.err;
        EXPECT_NE(r.err.find(c.fault), std::string::npos) << r.err;
        EXPECT_FALSE(fs::exists(dir / "out.wav"));
    }
    for (const std::string& name : dir.Names()) {
        EXPECT_NE(name[0], '.') << "a temporary was left: " << name;
    }
}

} // namespace
