#include "CliTestSupport.h"
#include "cli/Presets.h"
#include "cli/Response.h"
#include "units/Zkmorva20Links.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace {

using namespace zkclitest;

// A preset's value of every parameter: the table's defaults with its settings over them.
std::map<AudioUnitParameterID, float> FullValues(const zkcli::UnitKind& unit,
                                                 const zk::FactoryPreset& preset) {
    std::map<AudioUnitParameterID, float> values;
    for (const zk::ParameterDef& p : unit.parameters) {
        values[p.id] = p.defaultValue;
    }
    for (const zkcli::Setting& s : zkcli::FactorySettings(unit, preset)) {
        values[s.id] = s.value;
    }
    return values;
}

// Every preset of both libraries: 12 to 16 a unit, names unique, a one-line
// description, every parameter named exactly as in the table, settable, set once,
// and every value inside the parameter's range.
TEST(PresetLibrary, EveryValueNamesASettableParameterInItsRange) {
    for (const zkcli::UnitKind& unit : zkcli::AllUnits()) {
        SCOPED_TRACE(unit.title);
        EXPECT_GE(unit.factoryPresets.size(), 12u);
        EXPECT_LE(unit.factoryPresets.size(), 16u);
        std::set<std::string> names;
        for (const zk::FactoryPreset& preset : unit.factoryPresets) {
            SCOPED_TRACE(preset.name);
            EXPECT_TRUE(names.insert(zkcli::PresetSlug(preset.name)).second) << "name twice";
            const std::string description = preset.description;
            EXPECT_FALSE(description.empty());
            EXPECT_EQ(description.find('\n'), std::string::npos);
            EXPECT_LE(description.size(), 90u);
            std::set<std::string> named;
            for (const zk::PresetValue& v : preset.values) {
                const zk::ParameterDef* p = zk::FindParameter(unit.parameters, v.parameter);
                ASSERT_NE(p, nullptr) << "no parameter \"" << v.parameter << "\"";
                EXPECT_STREQ(p->name, v.parameter) << "named by symbol, not name";
                EXPECT_FALSE(zkcli::IsMeter(unit, *p) || !zk::IsAutomatable(*p)) << p->name;
                EXPECT_TRUE(v.value >= p->minValue && v.value <= p->maxValue)
                    << p->name << " = " << v.value << " outside " << p->minValue << ".."
                    << p->maxValue;
                EXPECT_TRUE(named.insert(v.parameter).second) << v.parameter << " set twice";
            }
        }
    }
}

// Zkmorva 20: wherever a section's link is on, both channels hold the same values
// (a host moving one would move the other); the unit sets every link switch to the
// master link's value, so a preset states them all as the master link has them.
TEST(PresetLibrary, Zkmorva20LinkedPairsHoldEqualValues) {
    const zkcli::UnitKind& unit = *zkcli::FindUnit("20");
    for (const zk::FactoryPreset& preset : unit.factoryPresets) {
        SCOPED_TRACE(preset.name);
        const auto values = FullValues(unit, preset);
        const float master = values.at(zk::kZ20MasterLink);
        for (const zk::z20links::LinkGroup& group : zk::z20links::kGroups) {
            EXPECT_EQ(values.at(group.link), master)
                << "link " << group.link << " differs from the master link";
            if (values.at(group.link) == 0.0f) {
                continue;
            }
            const zk::z20links::LinkGroup& partner = zk::z20links::kGroups[group.partner];
            for (std::uint8_t m = 0; m < group.memberCount; ++m) {
                EXPECT_EQ(values.at(group.members[m]), values.at(partner.members[m]))
                    << zk::kZkmorva20Parameters[group.members[m]].name << " and "
                    << zk::kZkmorva20Parameters[partner.members[m]].name << " are linked";
            }
        }
    }
    // The repair preset is the one that treats the sides differently.
    const auto repair = FullValues(unit, *zkcli::FindFactoryPreset(unit, "Left/Right Repair"));
    EXPECT_NE(repair.at(zk::kZ20Input1Gain), repair.at(zk::kZ20Input2Gain));
}

// Measured with sines through the unit: a few presets do what their descriptions say.
TEST(PresetLibrary, PresetsSoundAsDescribed) {
    auto measure = [](const char* unitName, const char* presetName,
                      std::vector<double> frequencies) {
        const zkcli::UnitKind& unit = *zkcli::FindUnit(unitName);
        const zkcli::Preset preset =
            zkcli::FactoryPresetFor(unit, *zkcli::FindFactoryPreset(unit, presetName));
        zkcli::ResponseSetup setup;
        setup.presetDocument = &preset.document;
        setup.presetSource = preset.source;
        return zkcli::MeasureResponse(unit, {}, frequencies, setup).gainDb;
    };
    // 24 dB/oct band limits at 400 Hz and 3.4 kHz: two octaves out, far down.
    const auto phone = measure("10", "Telephone", {100.0, 1500.0, 13600.0});
    EXPECT_LT(phone[0][0] - phone[0][1], -30.0) << "Telephone at 100 Hz against 1.5 kHz";
    EXPECT_LT(phone[0][2] - phone[0][1], -30.0) << "Telephone at 13.6 kHz against 1.5 kHz";
    EXPECT_GT(phone[0][1], 2.0) << "Telephone's honk at 1.5 kHz";
    // 18 dB/oct at 100 Hz: an octave below is well down, voice is untouched.
    const auto lowCut = measure("10", "Low Cut for Voice", {50.0, 1000.0});
    EXPECT_LT(lowCut[0][0], -12.0) << "Low Cut for Voice at 50 Hz";
    EXPECT_NEAR(lowCut[0][1], 0.0, 0.2) << "Low Cut for Voice at 1 kHz";
    // The right side 2 dB up where its top-end repair does not reach.
    const auto repair = measure("20", "Left/Right Repair", {200.0});
    EXPECT_NEAR(repair[0][0], 0.0, 0.1) << "Left/Right Repair, left at 200 Hz";
    EXPECT_NEAR(repair[1][0], 2.0, 0.1) << "Left/Right Repair, right at 200 Hz";
}

// `zkmorva presets` lists the library; exported files and names render alike.
TEST(PresetLibrary, ListedExportedAndRenderedByName) {
    ScratchFolder dir;
    std::string out;
    ASSERT_EQ(RunCli({"presets", "20"}, &out), 0);
    for (const zk::FactoryPreset& p : zkcli::FindUnit("20")->factoryPresets) {
        EXPECT_NE(out.find(std::string(p.name) + "  "), std::string::npos) << p.name;
        EXPECT_NE(out.find(p.description), std::string::npos) << p.name;
    }
    EXPECT_EQ(out.find("Zkmorva 10"), std::string::npos);

    const RunResult exported = RunZkmorva({"presets", "export", (dir / "lib").string()}, dir.path);
    ASSERT_EQ(exported.status, 0) << exported.err;
    std::size_t files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(dir / "lib")) {
        files += entry.is_regular_file() ? 1 : 0;
    }
    EXPECT_EQ(files, zkcli::FindUnit("10")->factoryPresets.size() +
                         zkcli::FindUnit("20")->factoryPresets.size());
    const zkcli::Preset exportedRepair =
        zkcli::ReadPreset(dir / "lib" / "Zkmorva 20" / "left-right-repair.aupreset");
    EXPECT_EQ(exportedRepair.name, "Left/Right Repair");

    WriteAudio(dir / "in.wav", TestSignal(2, 9600));
    const RunResult byName = RunZkmorva({"render", (dir / "in.wav").string(),
                                         (dir / "a.wav").string(), "--preset", "left right repair"},
                                        dir.path);
    ASSERT_EQ(byName.status, 0) << byName.err;
    ASSERT_EQ(RunZkmorva({"render", (dir / "in.wav").string(), (dir / "b.wav").string(), "--preset",
                          (dir / "lib" / "Zkmorva 20" / "left-right-repair.aupreset").string()},
                         dir.path)
                  .status,
              0);
    EXPECT_TRUE(FileBytes(dir / "a.wav") == FileBytes(dir / "b.wav"));
    // A name both libraries have needs the unit.
    const RunResult ambiguous = RunZkmorva(
        {"render", (dir / "in.wav").string(), (dir / "c.wav").string(), "--preset", "Telephone"},
        dir.path);
    EXPECT_EQ(ambiguous.status, 1);
    EXPECT_NE(ambiguous.err.find("choose one with --unit"), std::string::npos) << ambiguous.err;
}

} // namespace
