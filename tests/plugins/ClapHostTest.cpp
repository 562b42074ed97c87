// Loads every built .clap in a small host of our own and checks what a host
// sees: descriptor, parameters, ports, audio against a direct drive of the unit
// (bit for bit), latency, bypass, host changes while running, and state.

#include "tests/plugins/ClapHost.h"
#include "plugins/core/EditorLink.h"
#include "plugins/core/SpectrumTap.h"
#include "plugins/core/UnitDescriptor.h"
#include "plugins/dpf/StateBlob.h"
#include "tests/plugins/DirectDrive.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <set>
#include <thread>

namespace {

using namespace zktest;

// The symbols a test needs, per unit.
struct Symbols {
    std::vector<std::pair<const char*, float>> setting; // changes every band audibly
    std::vector<const char*> outputGains;
    const char* inputGain;
    const char* hpQuality;
    const char* lfQuality;
    const char* lfGain;
    const char* inputMeter;
    const char* outputMeter;
};

struct PluginCase {
    const char* file; // bundle base name in ZK_PLUGIN_BIN
    const zkplug::UnitDescriptor& (*unit)();
    Symbols symbols;
};

const Symbols kZ10Symbols{{{"LfGain", 6.0f},
                           {"HpFrequency", 80.0f},
                           {"MfGain", -4.5f},
                           {"HfGain", 3.0f},
                           {"LfQuality", 0.7f},
                           {"OutputGain", -1.5f}},
                          {"OutputGain"},
                          "InputGain",
                          "HpQuality",
                          "LfQuality",
                          "LfGain",
                          "InputMeter",
                          "OutputMeter"};

// Without a gesture nothing is linked, so both channels are set.
const Symbols kZ20Symbols{{{"Eq1LfGain", 6.0f},
                           {"Eq2LfGain", 4.0f},
                           {"Eq1HpFrequency", 80.0f},
                           {"Eq2MfGain", -4.5f},
                           {"Eq1HfGain", 3.0f},
                           {"StereoWidth", 150.0f},
                           {"Output1Gain", -1.5f}},
                          {"Output1Gain", "Output2Gain"},
                          "Input1Gain",
                          "Eq1HpQuality",
                          "Eq1LfQuality",
                          "Eq1LfGain",
                          "Input1Meter",
                          "Output1Meter"};

std::string IdOf(const PluginCase& c) {
    return std::string("com.zkmorva.") + c.file;
}

class ClapPlugin : public ::testing::TestWithParam<PluginCase> {
protected:
    void SetUp() override {
        lib = std::make_unique<ClapLibrary>(std::string(ZK_PLUGIN_BIN) + "/" + GetParam().file +
                                            ".clap");
    }
    const zkplug::UnitDescriptor& Unit() const { return GetParam().unit(); }
    UInt32 ChannelCount() const { return Unit().channels; }
    std::unique_ptr<ClapInstance> Create() const {
        return std::make_unique<ClapInstance>(*lib, IdOf(GetParam()).c_str());
    }
    clap_id IdBySymbol(const char* symbol) const {
        const zk::ParameterDef* p = zk::FindParameter(Unit().parameters, symbol);
        if (p == nullptr) {
            throw std::runtime_error(std::string("no parameter ") + symbol);
        }
        return p->id;
    }
    clap_id BypassId() const { return static_cast<clap_id>(Unit().parameters.size()); }
    const Symbols& Sym() const { return GetParam().symbols; }
    Settings Setting() const {
        Settings out;
        for (const auto& [symbol, value] : Sym().setting) {
            out.push_back({IdBySymbol(symbol), value});
        }
        return out;
    }
    bool IsOutput(const zk::ParameterDef& d) const {
        return zk::IsMeter(d) || (Unit().isMeter != nullptr && Unit().isMeter(d.id));
    }
    static std::vector<ParamChange> AsChanges(const Settings& s) {
        std::vector<ParamChange> out;
        for (const auto& [id, v] : s) {
            out.push_back({id, v});
        }
        return out;
    }
    // Runs the whole signal through an instance in blocks; in place when asked.
    Channels Run(ClapInstance& p, const Channels& input, std::size_t block, bool inPlace) const {
        Channels out = input;
        Channels in = input;
        std::vector<float*> ip(input.size()), op(input.size());
        for (std::size_t pos = 0; pos < input[0].size(); pos += block) {
            const auto n = static_cast<uint32_t>(std::min(block, input[0].size() - pos));
            for (std::size_t c = 0; c < input.size(); ++c) {
                op[c] = out[c].data() + pos;
                ip[c] = inPlace ? op[c] : in[c].data() + pos;
            }
            if (!p.Process(ip, op, n)) {
                throw std::runtime_error("process failed");
            }
        }
        return out;
    }

    std::unique_ptr<ClapLibrary> lib;
};

TEST_P(ClapPlugin, DescriptorIsOursAndUnknownIdsAreRefused) {
    ASSERT_NE(lib->factory, nullptr);
    ASSERT_EQ(lib->factory->get_plugin_count(lib->factory), 1u);
    const clap_plugin_descriptor_t* d = lib->factory->get_plugin_descriptor(lib->factory, 0);
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(std::string(d->id), IdOf(GetParam()));
    EXPECT_NE(std::string(d->name).find("Zkmorva"), std::string::npos);
    std::set<std::string> features;
    for (const char* const* f = d->features; f != nullptr && *f != nullptr; ++f) {
        features.insert(*f);
    }
    EXPECT_TRUE(features.count("audio-effect"));
    EXPECT_TRUE(features.count(ChannelCount() == 1 ? "mono" : "stereo"));
    EXPECT_EQ(lib->factory->get_plugin_descriptor(lib->factory, 1), nullptr);

    ClapInstance probe(*lib, d->id); // a valid id works
    EXPECT_EQ(lib->factory->create_plugin(lib->factory, &probe.host, "com.example.other"), nullptr);
    EXPECT_EQ(lib->factory->create_plugin(lib->factory, &probe.host, nullptr), nullptr);
    EXPECT_EQ(lib->factory->create_plugin(lib->factory, nullptr, d->id), nullptr);
}

TEST_P(ClapPlugin, ParametersFollowTheTable) {
    auto p = Create();
    const auto& table = Unit().parameters;
    // The table, the bypass, and the auto-listen display for the UI.
    ASSERT_EQ(p->params->count(p->plugin), zkplug::HostParameterCount(Unit()));
    for (std::size_t i = 0; i < table.size(); ++i) {
        SCOPED_TRACE(table[i].symbol);
        clap_param_info_t info{};
        ASSERT_TRUE(p->params->get_info(p->plugin, static_cast<uint32_t>(i), &info));
        EXPECT_EQ(info.id, table[i].id);
        EXPECT_EQ(std::string(info.name), table[i].name[0] ? table[i].name : table[i].symbol);
        EXPECT_EQ(std::string(info.module), table[i].symbol);
        EXPECT_EQ(info.min_value, table[i].minValue);
        EXPECT_EQ(info.max_value, table[i].maxValue);
        EXPECT_EQ(info.default_value, table[i].defaultValue);
        const bool meter = IsOutput(table[i]);
        EXPECT_EQ((info.flags & CLAP_PARAM_IS_READONLY) != 0, meter);
        EXPECT_EQ((info.flags & CLAP_PARAM_IS_AUTOMATABLE) != 0,
                  !meter && zk::IsAutomatable(table[i]) && table[i].id != Unit().panelState);
        const bool stepped = table[i].unit == kAudioUnitParameterUnit_Boolean ||
                             table[i].unit == kAudioUnitParameterUnit_Indexed;
        EXPECT_EQ((info.flags & CLAP_PARAM_IS_STEPPED) != 0, stepped);
        if (!meter) {
            EXPECT_EQ(p->Value(table[i].id), table[i].defaultValue);
        }
    }
    clap_param_info_t bypass{};
    ASSERT_TRUE(p->params->get_info(p->plugin, BypassId(), &bypass));
    EXPECT_TRUE(bypass.flags & CLAP_PARAM_IS_BYPASS);
    clap_param_info_t autoListen{};
    const clap_id autoListenId = zkplug::AutoListenIndex(Unit());
    ASSERT_TRUE(p->params->get_info(p->plugin, autoListenId, &autoListen));
    EXPECT_EQ(autoListen.id, autoListenId);
    EXPECT_TRUE(autoListen.flags & CLAP_PARAM_IS_READONLY);
    EXPECT_FALSE(autoListen.flags & CLAP_PARAM_IS_AUTOMATABLE);
    EXPECT_EQ(autoListen.max_value, zkplug::kMaxAutoListenValue);
    EXPECT_EQ(p->Value(autoListenId), 0.0); // off

    // Texts the unit gives to special values reach the host.
    const clap_id mode = IdBySymbol("AutoListenMode");
    EXPECT_EQ(p->Text(mode, 0), "Q - -");
    EXPECT_EQ(p->Text(mode, 5), "- f G");
    EXPECT_EQ(p->Text(IdBySymbol(Sym().inputGain), -100), "-oo");
    EXPECT_EQ(p->Text(IdBySymbol(Sym().hpQuality), 18), "12dB/oct.");
    EXPECT_EQ(p->Text(IdBySymbol(Sym().lfQuality), 0.29f), "lo-shelf");
    double v = 0;
    ASSERT_TRUE(p->params->text_to_value(p->plugin, mode, "Q f -", &v));
    EXPECT_EQ(v, 3.0);
}

TEST_P(ClapPlugin, AudioPortsMatchTheBus) {
    auto p = Create();
    ASSERT_NE(p->ports, nullptr);
    for (bool input : {true, false}) {
        ASSERT_EQ(p->ports->count(p->plugin, input), 1u);
        clap_audio_port_info_t info{};
        ASSERT_TRUE(p->ports->get(p->plugin, 0, input, &info));
        EXPECT_EQ(info.channel_count, ChannelCount());
        EXPECT_TRUE(info.flags & CLAP_AUDIO_PORT_IS_MAIN);
    }
}

// Any block size, in place or not, gives the direct drive's samples exactly.
TEST_P(ClapPlugin, ProcessEqualsDirectDriveBitForBit) {
    const Channels input = TestSignal(ChannelCount(), 3 * 4096 + 123);
    for (std::size_t block : {1, 17, 256, 2027, 4096}) {
        const Channels expected =
            DirectDrive(Unit().open(), 48000.0, 4096, Setting(), input, block);
        for (bool inPlace : {false, true}) {
            SCOPED_TRACE("block " + std::to_string(block) + (inPlace ? " in place" : ""));
            auto p = Create();
            p->Flush(AsChanges(Setting()));
            p->Activate(48000.0, 4096);
            std::vector<float*> none(ChannelCount(), nullptr);
            ASSERT_TRUE(p->Process(none, none, 0)); // an empty block is fine
            const Channels out = Run(*p, input, block, inPlace);
            for (std::size_t c = 0; c < out.size(); ++c) {
                ASSERT_EQ(out[c], expected[c]) << "channel " << c;
            }
            ASSERT_NE(out[0], input[0]); // the setting is audible
        }
    }
}

// Blocks larger than announced are processed in pieces of the unit's size.
TEST_P(ClapPlugin, BlocksLargerThanAnnouncedAreSplit) {
    const Channels input = TestSignal(ChannelCount(), 3 * 4096);
    auto p = Create();
    p->Flush(AsChanges(Setting()));
    p->Activate(48000.0, 64); // the unit then runs 256-frame slices
    const Channels out = Run(*p, input, 4096, false);
    const Channels expected = DirectDrive(Unit().open(), 48000.0, 256, Setting(), input, 256);
    for (std::size_t c = 0; c < out.size(); ++c) {
        ASSERT_EQ(out[c], expected[c]) << "channel " << c;
    }
}

TEST_P(ClapPlugin, LatencyFollowsTheSampleRate) {
    auto p = Create();
    ASSERT_NE(p->latency, nullptr);
    p->Activate(48000.0, 512);
    EXPECT_EQ(p->latency->get(p->plugin), 4u); // oversampled below 64 kHz
    p->Deactivate();
    const int changes = p->latencyChanges;
    p->Activate(96000.0, 512);
    EXPECT_EQ(p->latency->get(p->plugin), 0u);
    p->Deactivate();
    EXPECT_GT(p->latencyChanges, changes); // the host is told
    p->Activate(44100.0, 512);
    EXPECT_EQ(p->latency->get(p->plugin), 4u);
}

// Host bypass sounds as the input delayed by the reported latency.
TEST_P(ClapPlugin, BypassIsTheLatencyMatchedDryPath) {
    const Channels input = TestSignal(ChannelCount(), 4096);
    auto p = Create();
    p->Flush(AsChanges(Setting()));
    p->Flush({{BypassId(), 1.0}});
    EXPECT_EQ(p->Value(BypassId()), 1.0);
    p->Activate(48000.0, 512);
    const uint32_t latency = p->latency->get(p->plugin);
    const std::size_t block = 512;
    const Channels out = Run(*p, input, block, false);
    // Each channel has its own delay ring: a shared one would leak the other
    // channel into the first `latency` frames of every block.
    double worst = 0;
    for (std::size_t c = 0; c < out.size(); ++c) {
        for (std::size_t i = latency; i < input[c].size(); ++i) {
            worst = std::max(worst, std::abs(double(out[c][i]) - input[c][i - latency]));
        }
    }
    EXPECT_LT(worst, 1e-6) << "blocks of " << block;
}

// A value change while running goes through the unit's parameter thread and is
// heard a little later, never lost.
TEST_P(ClapPlugin, HostChangeWhileRunningReachesTheSound) {
    const Channels input = TestSignal(ChannelCount(), 512);
    auto p = Create();
    p->Activate(48000.0, 512);
    const Channels before = Run(*p, input, 512, false);
    std::vector<float*> none;
    Channels in = input, out = input;
    std::vector<float*> ip, op;
    for (std::size_t c = 0; c < input.size(); ++c) {
        ip.push_back(in[c].data());
        op.push_back(out[c].data());
    }
    std::vector<ParamChange> mute;
    for (const char* gain : Sym().outputGains) {
        mute.push_back({IdBySymbol(gain), -100.0});
    }
    ASSERT_TRUE(p->Process(ip, op, 512, mute));
    EXPECT_EQ(p->Value(mute[0].id), -100.0);
    bool silent = false;
    for (int i = 0; i < 200 && !silent; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        ASSERT_TRUE(p->Process(ip, op, 512));
        silent = std::all_of(out.begin(), out.end(), [](const std::vector<float>& ch) {
            return std::all_of(ch.begin(), ch.end(), [](float s) { return s == 0.0f; });
        });
    }
    EXPECT_TRUE(silent) << "output gain -100 dB never silenced the output";
    EXPECT_FALSE(std::all_of(before[0].begin(), before[0].end(), [](float s) { return s == 0; }));
}

TEST_P(ClapPlugin, MetersReadTheLevels) {
    const Channels input = TestSignal(ChannelCount(), 8192);
    auto p = Create();
    const clap_id in = IdBySymbol(Sym().inputMeter);
    const clap_id out = IdBySymbol(Sym().outputMeter);
    p->Activate(48000.0, 512);
    Run(*p, input, 512, false);
    EXPECT_GT(p->Value(in), -20.0); // the signal peaks near -6 dBFS
    EXPECT_LE(p->Value(in), 0.0);
    EXPECT_GT(p->Value(out), -20.0);
}

// A saved state restores every parameter and the sound of the saved instance.
TEST_P(ClapPlugin, StateRoundTripRestoresEverything) {
    auto a = Create();
    a->Flush(AsChanges(Setting()));
    a->Flush({{IdBySymbol("HidePanel"), 1.0}, {IdBySymbol("AutoListenMode"), 2.0}});
    const std::string blob = a->SaveState();
    ASSERT_FALSE(blob.empty());
    EXPECT_NE(blob.find("<plist"), std::string::npos); // the class-information document

    auto b = Create();
    ASSERT_TRUE(b->LoadState(blob));
    for (const zk::ParameterDef& d : Unit().parameters) {
        if (!IsOutput(d)) {
            EXPECT_EQ(b->Value(d.id), a->Value(d.id)) << d.symbol;
        }
    }
    EXPECT_EQ(b->Value(IdBySymbol(Sym().lfGain)), 6.0);
    EXPECT_EQ(b->Value(IdBySymbol("HidePanel")), 1.0);

    const Channels input = TestSignal(ChannelCount(), 4096);
    a->Activate(48000.0, 512);
    b->Activate(48000.0, 512);
    EXPECT_EQ(Run(*a, input, 512, false), Run(*b, input, 512, false));
}

// Empty, foreign, truncated or broken states are refused and change nothing,
// also while running.
TEST_P(ClapPlugin, BadStatesAreRefusedWithoutChangingTheSound) {
    auto source = Create();
    source->Flush({{IdBySymbol(Sym().lfGain), -9.0}});
    const std::string good = source->SaveState();

    std::string brokenDocument = good;
    const std::size_t data = brokenDocument.find("<key>data</key>");
    ASSERT_NE(data, std::string::npos);
    brokenDocument.insert(brokenDocument.find("<data>", data) + 6, "!!");
    std::string foreignDocument = good;
    const std::size_t subtype = foreignDocument.find("<key>subtype</key>");
    ASSERT_NE(subtype, std::string::npos);
    foreignDocument.replace(foreignDocument.find("<integer>", subtype) + 9, 1, "9");

    const std::vector<std::pair<const char*, std::string>> bad{
        {"empty", ""},
        {"text", "not a state at all"},
        {"truncated", good.substr(0, good.size() / 2)},
        {"broken document", brokenDocument},
        {"foreign document", foreignDocument},
    };

    auto p = Create();
    p->Flush(AsChanges(Setting()));
    p->Activate(48000.0, 512);
    const Channels input = TestSignal(ChannelCount(), 2048);
    auto reference = Create();
    reference->Flush(AsChanges(Setting()));
    reference->Activate(48000.0, 512);
    for (const auto& [what, blob] : bad) {
        SCOPED_TRACE(what);
        EXPECT_FALSE(p->LoadState(blob));
        EXPECT_EQ(p->Value(IdBySymbol(Sym().lfGain)), 6.0);
        EXPECT_EQ(Run(*p, input, 512, false), Run(*reference, input, 512, false));
    }
    EXPECT_TRUE(p->LoadState(good)); // and a good one still loads
    EXPECT_EQ(p->Value(IdBySymbol(Sym().lfGain)), -9.0);
}

// The spectrum analyser's choice travels with the saved state under its own key
// (off in a new instance), and a state saved before that key existed still loads,
// with the analyser off.
TEST_P(ClapPlugin, SpectrumChoiceTravelsWithTheState) {
    const std::string fresh = Create()->SaveState();
    const std::string key = std::string(zkplug::kSpectrumStateKey) + '\0';
    const std::size_t at = fresh.find('\0' + key);
    ASSERT_NE(at, std::string::npos);
    const std::size_t value = at + 1 + key.size();
    const std::size_t end = fresh.find('\0', value);
    ASSERT_EQ(fresh.substr(value, end - value), "off pre post lr free");

    std::string chosen = fresh;
    chosen.replace(value, end - value, "on post ms hold");
    auto b = Create();
    ASSERT_TRUE(b->LoadState(chosen));
    EXPECT_EQ(zkplug::FindDpfStateValue(b->SaveState(), zkplug::kSpectrumStateKey),
              "on post ms hold");

    std::string older = fresh;
    older.erase(at + 1, end - at); // the key, its value and their terminators
    ASSERT_EQ(zkplug::FindDpfStateValue(older, zkplug::kSpectrumStateKey), std::nullopt);
    auto c = Create();
    ASSERT_TRUE(c->LoadState(older));
    EXPECT_EQ(zkplug::FindDpfStateValue(c->SaveState(), zkplug::kSpectrumStateKey),
              "off pre post lr free");
}

std::string CaseName(const ::testing::TestParamInfo<PluginCase>& info) {
    std::string n = info.param.file;
    std::replace(n.begin(), n.end(), '-', '_');
    return n;
}

INSTANTIATE_TEST_SUITE_P(
    Zkmorva, ClapPlugin,
    ::testing::Values(PluginCase{"zkmorva10-mono", &zkplug::Zkmorva10Mono, kZ10Symbols},
                      PluginCase{"zkmorva10-stereo", &zkplug::Zkmorva10Stereo, kZ10Symbols},
                      PluginCase{"zkmorva20", &zkplug::Zkmorva20, kZ20Symbols}),
    CaseName);

} // namespace
