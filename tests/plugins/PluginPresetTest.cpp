// Presets in the plug-ins as hosts use them. LV2 through lilv (what jalv, Ardour and
// Qtractor load and save presets with): the factory presets in each bundle, a user
// preset a host saves from the plug-in, and a preset the renderer writes. CLAP
// through our test host: the state the plug-in saves and the one the renderer
// writes (the VST3 state and preset files hold the same blob). Each is played by the plug-in,
// restored as a host restores it, and must give the same bits as `zkmorva render` with the same
// preset.
#include "cli/CliTestSupport.h"
#include "cli/Commands.h"
#include "cli/OutputPath.h"
#include "cli/UnitCatalog.h"
#include "tests/plugins/ClapHost.h"
#include "tests/plugins/LilvHost.h"

#include <gtest/gtest.h>
#include <lv2/presets/presets.h>

#include <cstring>
#include <set>
#include <sstream>

namespace {

using namespace zkclitest;
using Channels = std::vector<std::vector<float>>;
using zktest::Lv2Host;
using zktest::Lv2Instance;

constexpr double kRate = 48000.0;
constexpr uint32_t kBlock = 256;
constexpr std::size_t kFrames = 12000;

struct PlugIn {
    const char* uri;
    const char* unit;
    unsigned channels;
    const char* name; // of the built files
};
constexpr PlugIn kPlugIns[] = {{"urn:zkmorva:zkmorva10-mono", "10", 1, "zkmorva10-mono"},
                               {"urn:zkmorva:zkmorva10-stereo", "10", 2, "zkmorva10-stereo"},
                               {"urn:zkmorva:zkmorva20", "20", 2, "zkmorva20"}};

int Cli(const std::vector<std::string>& args, std::string* err = nullptr) {
    std::ostringstream o, e;
    const int status = zkcli::RunCommandLine(args, {o, e, false});
    if (err != nullptr) {
        *err = e.str();
    }
    return status;
}

// The renderer's output for the test signal with `preset` (a file or a factory name).
Channels Render(const ScratchFolder& dir, const PlugIn& p, const std::string& preset) {
    const fs::path in = dir / "in.wav", out = dir / "rendered.wav";
    WriteAudio(in, TestSignal(p.channels, kFrames));
    std::string err;
    EXPECT_EQ(
        Cli({"render", in.string(), out.string(), "--unit", p.unit, "--preset", preset, "--block",
             std::to_string(kBlock), "--keep-latency", "--type", "float", "--quiet"},
            &err),
        0)
        << err;
    return ReadAudio(out).channels;
}

// Same bits, or the first frame and channel that differ.
std::string Difference(const Channels& a, const Channels& b) {
    if (a.size() != b.size()) {
        return std::to_string(a.size()) + " against " + std::to_string(b.size()) + " channels";
    }
    for (std::size_t c = 0; c < a.size(); ++c) {
        const std::size_t n = std::min(a[c].size(), b[c].size());
        if (n < kFrames) {
            return "only " + std::to_string(n) + " frames";
        }
        for (std::size_t i = 0; i < n; ++i) {
            if (std::memcmp(&a[c][i], &b[c][i], sizeof(float)) != 0) {
                return "channel " + std::to_string(c) + " frame " + std::to_string(i) + ": " +
                       std::to_string(a[c][i]) + " against " + std::to_string(b[c][i]);
            }
        }
    }
    return "";
}

std::set<std::string> InputControlSymbols(Lv2Host& host, const LilvPlugin* plugin) {
    std::set<std::string> out;
    LilvNode* control = lilv_new_uri(host.world, LV2_CORE__ControlPort);
    LilvNode* input = lilv_new_uri(host.world, LV2_CORE__InputPort);
    for (uint32_t i = 0; i < lilv_plugin_get_num_ports(plugin); ++i) {
        const LilvPort* port = lilv_plugin_get_port_by_index(plugin, i);
        if (lilv_port_is_a(plugin, port, control) && lilv_port_is_a(plugin, port, input)) {
            out.insert(lilv_node_as_string(lilv_port_get_symbol(plugin, port)));
        }
    }
    lilv_node_free(control);
    lilv_node_free(input);
    return out;
}

// Every bundle lists its unit's library by name, each preset sets every control
// port and carries the settings as state, and the plug-in plays each preset to the
// same bits as the renderer given the preset's name.
TEST(Lv2Presets, FactoryPresetsPlayInThePlugInAsTheRendererRendersThem) {
    Lv2Host host(kRate, kBlock);
    ScratchFolder dir;
    for (const PlugIn& p : kPlugIns) {
        SCOPED_TRACE(p.uri);
        const LilvPlugin* plugin = host.Find(p.uri);
        ASSERT_NE(plugin, nullptr) << "not in LV2_PATH";
        const zkcli::UnitKind& unit = *zkcli::FindUnit(p.unit);
        const std::set<std::string> symbols = InputControlSymbols(host, plugin);

        LilvNode* presetClass = lilv_new_uri(host.world, LV2_PRESETS__Preset);
        LilvNodes* presets = lilv_plugin_get_related(plugin, presetClass);
        std::set<std::string> labels;
        LILV_FOREACH(nodes, i, presets) {
            const LilvNode* uri = lilv_nodes_get(presets, i);
            lilv_world_load_resource(host.world, uri);
            LilvState* state = lilv_state_new_from_world(host.world, &host.map, uri);
            ASSERT_NE(state, nullptr) << lilv_node_as_uri(uri);
            const std::string label = lilv_state_get_label(state);
            labels.insert(label);
            std::set<std::string> set;
            lilv_state_emit_port_values(
                state,
                [](const char* symbol, void* out, const void*, uint32_t, uint32_t) {
                    static_cast<std::set<std::string>*>(out)->insert(symbol);
                },
                &set);
            EXPECT_EQ(set, symbols) << label << " does not set every control port";
            EXPECT_EQ(lilv_state_get_num_properties(state), 1u) << label << " has no state";

            Lv2Instance instance(host, plugin);
            ASSERT_TRUE(instance.Valid());
            instance.Restore(state);
            const Channels played = instance.Play(TestSignal(p.channels, kFrames));
            EXPECT_EQ(Difference(played, Render(dir, p, label)), "") << label;
            lilv_state_free(state);
        }
        lilv_nodes_free(presets);
        lilv_node_free(presetClass);
        std::set<std::string> library;
        for (const zk::FactoryPreset& f : unit.factoryPresets) {
            library.insert(f.name);
        }
        EXPECT_EQ(labels, library);
    }
}

// A host saves the plug-in's settings as a preset (jalv's and Ardour's "save
// preset": lilv state with the ports and the plug-in's state) to a file of its own.
// The renderer plays that file to the same bits as the plug-in playing the preset
// restored, and so do the .aupreset and plug-in state the renderer converts it to.
TEST(Lv2Presets, UserPresetSavedByAHostRendersBitForBitAfterEveryConversion) {
    Lv2Host host(kRate, kBlock);
    ScratchFolder dir;
    const PlugIn& p = kPlugIns[2];
    const LilvPlugin* plugin = host.Find(p.uri);
    ASSERT_NE(plugin, nullptr);
    {
        Lv2Instance user(host, plugin);
        ASSERT_TRUE(user.Valid());
        // Channels set apart (links off), values that are not round numbers.
        for (const auto& [symbol, value] :
             std::initializer_list<std::pair<const char*, float>>{{"MasterLink", 0},
                                                                  {"Eq1LfLink", 0},
                                                                  {"Eq1LfGain", 4.75f},
                                                                  {"Eq2LfGain", -2.125f},
                                                                  {"Eq1HmfFrequency", 3333.5f},
                                                                  {"Eq1HmfGain", -7.25f},
                                                                  {"Eq2HpFrequency", 61.25f},
                                                                  {"StereoWidth", 137.5f},
                                                                  {"MonoMaker", 95}}) {
            ASSERT_NE(user.Control(symbol), nullptr) << symbol;
            *user.Control(symbol) = value;
        }
        user.Play(TestSignal(p.channels, 2 * kBlock)); // the host runs the plug-in a while
        LilvState* state = user.Save("Lopsided fix");
        ASSERT_EQ(lilv_state_save(host.world, &host.map, &host.unmap, state, nullptr,
                                  dir.path.c_str(), "user.ttl"),
                  0);
        lilv_state_free(state);
    }
    LilvState* saved =
        lilv_state_new_from_file(host.world, &host.map, nullptr, (dir / "user.ttl").c_str());
    ASSERT_NE(saved, nullptr);
    Lv2Instance later(host, plugin);
    later.Restore(saved);
    lilv_state_free(saved);
    const Channels played = later.Play(TestSignal(p.channels, kFrames));

    const Channels rendered = Render(dir, p, (dir / "user.ttl").string());
    EXPECT_EQ(Difference(played, rendered), "");
    EXPECT_NE(Difference(played, Render(dir, p, "Flat")), "") << "the preset changed nothing";
    for (const char* file : {"user.aupreset", "user.state", "again.ttl"}) {
        std::string err;
        ASSERT_EQ(
            Cli({"preset", "write", (dir / file).string(), "--from", (dir / "user.ttl").string()},
                &err),
            0)
            << err;
        EXPECT_EQ(Difference(played, Render(dir, p, (dir / file).string())), "") << file;
    }
    std::string shown;
    EXPECT_EQ(Cli({"preset", "show", (dir / "user.state").string()}), 0);
}

// A preset the renderer writes loads in the plug-in as a host loads a preset file
// (jalv -l) and plays as the renderer renders it.
TEST(Lv2Presets, PresetWrittenByTheRendererPlaysTheSameInThePlugIn) {
    Lv2Host host(kRate, kBlock);
    ScratchFolder dir;
    for (const PlugIn& p : {kPlugIns[0], kPlugIns[2]}) {
        SCOPED_TRACE(p.uri);
        const std::string file = (dir / (std::string(p.unit) + ".ttl")).string();
        const std::vector<std::string> sets =
            p.unit == std::string("10")
                ? std::vector<std::string>{"LF Gain=5.5", "MF f=1.7 kHz", "MF Gain=-4", "HP f=45"}
                : std::vector<std::string>{"LF L Gain=5.5", "LF R Gain=5.5", "Stereo-Width=80",
                                           "HP L f=45", "HP R f=45"};
        std::vector<std::string> write = {"preset", "write", file, "--unit", p.unit};
        for (const std::string& s : sets) {
            write.insert(write.end(), {"--set", s});
        }
        ASSERT_EQ(Cli(write), 0);
        LilvState* state = lilv_state_new_from_file(host.world, &host.map, nullptr, file.c_str());
        ASSERT_NE(state, nullptr);
        EXPECT_STREQ(lilv_node_as_uri(lilv_state_get_plugin_uri(state)), p.uri);
        Lv2Instance instance(host, host.Find(p.uri));
        instance.Restore(state);
        lilv_state_free(state);
        const Channels played = instance.Play(TestSignal(p.channels, kFrames));
        EXPECT_EQ(Difference(played, Render(dir, p, file)), "");
        EXPECT_NE(Difference(played, Render(dir, p, "Flat")), "") << "the preset changed nothing";
    }
}

// CLAP and VST3 hosts save and load the plug-in's state blob: one the renderer writes
// plays in the plug-in as the renderer renders it, and the one the plug-in then saves
// renders to the same bits again.
TEST(ClapPresets, StateBlobsTravelBothWaysBitForBit) {
    ScratchFolder dir;
    for (const PlugIn& p : {kPlugIns[1], kPlugIns[2]}) {
        SCOPED_TRACE(p.name);
        const fs::path written = dir / "written.state", saved = dir / "saved.state";
        ASSERT_EQ(Cli({"preset", "write", written.string(), "--unit", p.unit, "--from",
                       "Acoustic Guitar Sparkle"}),
                  0);
        zktest::ClapLibrary library(std::string(ZK_PLUGIN_BIN) + "/" + p.name + ".clap");
        zktest::ClapInstance plugin(library, (std::string("com.zkmorva.") + p.name).c_str());
        ASSERT_TRUE(plugin.LoadState(FileBytes(written)));
        plugin.Activate(kRate, kBlock);
        const Channels played = plugin.Play(TestSignal(p.channels, kFrames), kBlock);
        EXPECT_EQ(Difference(played, Render(dir, p, written.string())), "");
        zkcli::WriteTextFile(saved, plugin.SaveState());
        EXPECT_EQ(Difference(played, Render(dir, p, saved.string())), "");
        EXPECT_NE(Difference(played, Render(dir, p, "Flat")), "") << "the preset changed nothing";
    }
    // The VST3 preset files made for hosts hold the same state.
    const fs::path vst3 = fs::path(ZK_PLUGIN_BIN) / "vst3-presets" / "Zkmorva" / "Zkmorva 20";
    EXPECT_EQ(Difference(Render(dir, kPlugIns[2], (vst3 / "Left-Right Repair.vstpreset").string()),
                         Render(dir, kPlugIns[2], "Left/Right Repair")),
              "");
}

} // namespace
