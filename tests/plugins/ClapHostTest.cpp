// Over 600 lines: the one suite for the CLAP format, with its fixtures beside its checks.
// Loads every built .clap in a small host of our own and checks what a host
// sees: descriptor, parameters, ports, audio against a direct drive of the unit
// (bit for bit), latency, bypass, host changes while running, and state.

#include "tests/plugins/ClapHost.h"
#include "plugins/core/EditorLink.h"
#include "plugins/core/ProcessReport.h"
#include "plugins/core/SpectrumTap.h"
#include "plugins/core/UnitDescriptor.h"
#include "plugins/dpf/ClapBlockSplitter.h"
#include "plugins/dpf/StateBlob.h"
#include "tests/plugins/DirectDrive.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

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
    static std::vector<ParamChange> NoChanges() { return {}; }
    static std::vector<ParamChange> AsChanges(const Settings& s) {
        std::vector<ParamChange> out;
        for (const auto& [id, v] : s) {
            out.push_back({id, v});
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

// Any block size, in place or not, gives the direct drive's samples exactly;
// blocks larger than announced are processed in pieces of the unit's size (for
// 64 announced, 256-frame slices).
TEST_P(ClapPlugin, ProcessEqualsDirectDriveBitForBit) {
    const Channels input = TestSignal(ChannelCount(), 3 * 4096 + 123);
    struct Case {
        std::size_t block;
        uint32_t announced, slice;
    };
    for (const Case& k : {Case{1, 4096, 4096}, Case{17, 4096, 4096}, Case{256, 4096, 4096},
                          Case{2027, 4096, 4096}, Case{4096, 4096, 4096}, Case{4096, 64, 256}}) {
        const Channels expected = DirectDrive(Unit().open(), 48000.0, k.slice, Setting(), input,
                                              std::min<std::size_t>(k.block, k.slice));
        for (bool inPlace : {false, true}) {
            SCOPED_TRACE("block " + std::to_string(k.block) + " of " + std::to_string(k.announced) +
                         (inPlace ? " in place" : ""));
            auto p = Create();
            p->Flush(AsChanges(Setting()));
            p->Activate(48000.0, k.announced);
            std::vector<float*> none(ChannelCount(), nullptr);
            ASSERT_TRUE(p->Process(none, none, 0)); // an empty block is fine
            const Channels out = p->Play(input, k.block, inPlace);
            for (std::size_t c = 0; c < out.size(); ++c) {
                ASSERT_EQ(out[c], expected[c]) << "channel " << c;
            }
            ASSERT_NE(out[0], input[0]); // the setting is audible
        }
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
    const Channels out = p->Play(input, block);
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

// Values inside a block take effect at their frame: with the output gain
// stepped at frame 37 of the third 256-frame block, every frame before the step
// sounds as a render without it and every frame from the step on as a render
// with the new gain from the start (the gain is applied after the filters and
// the oversampling, so no frame lies between).
TEST_P(ClapPlugin, EventsInsideABlockLandOnTheirFrame) {
    const std::size_t block = 256;
    const std::size_t step = 2 * block + 37;
    const Channels input = TestSignal(ChannelCount(), 4 * block);
    std::vector<ParamChange> gains;
    for (const char* gain : Sym().outputGains) {
        gains.push_back({IdBySymbol(gain), -6.0, static_cast<uint32_t>(step % block)});
    }
    Settings stepped = Setting();
    for (const ParamChange& g : gains) {
        stepped.push_back({g.id, static_cast<float>(g.value)});
    }
    const Channels before = DirectDrive(Unit().open(), 48000.0, block, Setting(), input, block);
    const Channels after = DirectDrive(Unit().open(), 48000.0, block, stepped, input, block);
    ASSERT_NE(before[0][step], after[0][step]);

    auto p = Create();
    p->Flush(AsChanges(Setting()));
    p->Activate(48000.0, block);
    const Channels out = p->Play(input, block, false, [&](std::size_t pos) {
        return pos == step - step % block ? gains : NoChanges();
    });
    for (std::size_t c = 0; c < out.size(); ++c) {
        for (std::size_t i = 0; i < out[c].size(); ++i) {
            ASSERT_EQ(out[c][i], (i < step ? before : after)[c][i])
                << "channel " << c << ", frame " << i << " (step at " << step << ")";
        }
    }
}

TEST_P(ClapPlugin, MetersReadTheLevels) {
    const Channels input = TestSignal(ChannelCount(), 8192);
    auto p = Create();
    const clap_id in = IdBySymbol(Sym().inputMeter);
    const clap_id out = IdBySymbol(Sym().outputMeter);
    p->Activate(48000.0, 512);
    p->Play(input, 512);
    EXPECT_GT(p->Value(in), -20.0); // the signal peaks near -6 dBFS
    EXPECT_LE(p->Value(in), 0.0);
    EXPECT_GT(p->Value(out), -20.0);
    // Read after every block, each block's reading: in silence the level falls
    // from one block to the next.
    const Channels silence(ChannelCount(), std::vector<float>(64, 0.0f));
    double before = p->Value(in);
    for (int block = 0; block < 4; ++block) {
        p->Play(silence, 64);
        const double now = p->Value(in);
        EXPECT_LT(now, before) << "silent block " << block;
        before = now;
    }
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
    EXPECT_EQ(a->Play(input, 512), b->Play(input, 512));
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
        EXPECT_EQ(p->Play(input, 512), reference->Play(input, 512));
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

// With the links on (the default), a value for the left LF gain at frame 37
// moves the right one too, and the host hears of it at that frame.
TEST(ClapZkmorva20, TheUnitsOwnChangesReachTheHostAtTheirFrame) {
    ClapLibrary lib(std::string(ZK_PLUGIN_BIN) + "/zkmorva20.clap");
    ClapInstance p(lib, "com.zkmorva.zkmorva20");
    const auto& table = zkplug::Zkmorva20().parameters;
    const clap_id left = zk::FindParameter(table, "Eq1LfGain")->id;
    const clap_id right = zk::FindParameter(table, "Eq2LfGain")->id;
    p.Activate(48000.0, 256);
    std::vector<float> a(256, 0.0f), b(256, 0.0f);
    ASSERT_TRUE(p.Process({a.data(), b.data()}, {a.data(), b.data()}, 256, {{left, 6.0, 37}}));
    const auto partner = std::find_if(p.output.begin(), p.output.end(),
                                      [&](const ParamChange& c) { return c.id == right; });
    ASSERT_NE(partner, p.output.end()) << "no output event for Eq2LfGain";
    EXPECT_EQ(partner->value, 6.0);
    EXPECT_EQ(partner->time, 37u);
    EXPECT_EQ(p.Value(right), 6.0);
    EXPECT_TRUE(
        std::is_sorted(p.output.begin(), p.output.end(),
                       [](const ParamChange& x, const ParamChange& y) { return x.time < y.time; }));
}

// The splitter alone, with a process call behind it that records what it gets,
// pushes output at its first and last frame as DPF does, and reports a change
// of the unit's own in the piece that starts at frame 37.
class SplitRecorder {
public:
    struct Piece {
        uint32_t start; // frame in the block, from the pointers' offset
        uint32_t frames;
        int64_t steadyTime;
        std::vector<std::pair<uint32_t, clap_id>> values; // (time, id)
        std::vector<uint16_t> types;
    };

    explicit SplitRecorder(const float* in) : in(in) {}
    static clap_process_status Next(void* context, const clap_process_t* p) {
        auto* self = static_cast<SplitRecorder*>(context);
        Piece piece{static_cast<uint32_t>(p->audio_inputs[0].data32[0] - self->in),
                    p->frames_count,
                    p->steady_time,
                    {},
                    {}};
        for (uint32_t i = 0; i < p->in_events->size(p->in_events); ++i) {
            const clap_event_header_t* e = p->in_events->get(p->in_events, i);
            piece.types.push_back(e->type);
            if (e->type == CLAP_EVENT_PARAM_VALUE) {
                piece.values.push_back(
                    {e->time, reinterpret_cast<const clap_event_param_value_t*>(e)->param_id});
            }
        }
        if (p->frames_count > 0) {
            for (const auto& [time, id] :
                 {std::pair<uint32_t, clap_id>{0, 900},
                  std::pair<uint32_t, clap_id>{p->frames_count - 1, 901}}) {
                clap_event_param_value_t e{};
                e.header = {sizeof e, time, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_PARAM_VALUE, 0};
                e.param_id = id;
                p->out_events->try_push(p->out_events, &e.header);
            }
        }
        if (piece.start == 37 && zkplug::CurrentProcessReport() != nullptr) {
            zkplug::CurrentProcessReport()->Add(7, 2.5f);
        }
        self->pieces.push_back(piece);
        return CLAP_PROCESS_CONTINUE;
    }

    std::vector<Piece> pieces;

private:
    const float* in;
};

struct SplitBlock {
    explicit SplitBlock(uint32_t frames, std::vector<const clap_event_header_t*> events)
        : left(frames), right(frames), in(events) {
        data = {left.data(), right.data()};
        buffer.data32 = data.data();
        buffer.channel_count = 2;
        process.steady_time = 1000;
        process.frames_count = frames;
        process.audio_inputs = &buffer;
        process.audio_outputs = &buffer;
        process.audio_inputs_count = 1;
        process.audio_outputs_count = 1;
        inList.ctx = &in;
        inList.size = [](const clap_input_events_t* l) {
            return static_cast<uint32_t>(static_cast<Events*>(l->ctx)->size());
        };
        inList.get = [](const clap_input_events_t* l, uint32_t i) {
            return (*static_cast<Events*>(l->ctx))[i];
        };
        outList.ctx = &out;
        outList.try_push = [](const clap_output_events_t* l, const clap_event_header_t* e) {
            const auto* v = reinterpret_cast<const clap_event_param_value_t*>(e);
            static_cast<std::vector<ParamChange>*>(l->ctx)->push_back(
                {v->param_id, v->value, e->time});
            return true;
        };
        process.in_events = &inList;
        process.out_events = &outList;
    }
    using Events = std::vector<const clap_event_header_t*>;
    std::vector<float> left, right;
    std::vector<float*> data;
    clap_audio_buffer_t buffer{};
    Events in;
    std::vector<ParamChange> out;
    clap_input_events_t inList{};
    clap_output_events_t outList{};
    clap_process_t process{};
};

clap_event_param_value_t ValueAt(uint32_t time, clap_id id) {
    clap_event_param_value_t e{};
    e.header = {sizeof e, time, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_PARAM_VALUE, 0};
    e.param_id = id;
    return e;
}

TEST(ClapBlockSplitter, CutsTheBlockAtEachValueAndKeepsTheOutputInTimeOrder) {
    const auto v1 = ValueAt(0, 1), v2 = ValueAt(37, 2), v3 = ValueAt(37, 3);
    const auto late = ValueAt(300, 4);    // past the block: its last frame
    const auto unknown = ValueAt(40, 50); // no such parameter: withheld
    clap_event_param_gesture_t gesture{};
    gesture.header = {sizeof gesture, 10, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_PARAM_GESTURE_BEGIN,
                      0};
    clap_event_note_t note{};
    note.header = {sizeof note, 100, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_NOTE_ON, 0};
    SplitBlock block(256, {&v1.header, &gesture.header, &v2.header, &v3.header, &unknown.header,
                           &note.header, &late.header});
    SplitRecorder recorder(block.left.data());
    zkplug::ClapBlockSplitter splitter(50);
    ASSERT_EQ(splitter.Process(block.process, &SplitRecorder::Next, &recorder),
              CLAP_PROCESS_CONTINUE);

    using V = std::vector<std::pair<uint32_t, clap_id>>;
    const auto& pieces = recorder.pieces;
    ASSERT_EQ(pieces.size(), 3u);
    EXPECT_EQ(pieces[0].start, 0u);
    EXPECT_EQ(pieces[0].frames, 37u);
    EXPECT_EQ(pieces[0].values, (V{{0, 1}}));
    EXPECT_EQ(pieces[1].start, 37u);
    EXPECT_EQ(pieces[1].frames, 218u);
    EXPECT_EQ(pieces[1].steadyTime, 1037);
    EXPECT_EQ(pieces[1].values, (V{{0, 2}, {0, 3}}));
    EXPECT_EQ(pieces[1].types.back(), CLAP_EVENT_NOTE_ON); // the note, in its piece
    EXPECT_EQ(pieces[2].start, 255u);
    EXPECT_EQ(pieces[2].frames, 1u);
    EXPECT_EQ(pieces[2].values, (V{{0, 4}}));

    std::vector<std::pair<uint32_t, clap_id>> out;
    for (const ParamChange& c : block.out) {
        out.push_back({c.time, c.id});
    }
    EXPECT_EQ(out,
              (V{{0, 900}, {36, 901}, {37, 900}, {37, 7}, {254, 901}, {255, 900}, {255, 901}}));
    EXPECT_EQ(block.out[3].value, 2.5);
}

// More events and pieces than the splitter holds: every value still starts the
// piece at its own frame, and the frames add up to the block.
TEST(ClapBlockSplitter, BusyBlocksTakeSeveralPassesWithoutMovingAnEvent) {
    std::vector<clap_event_param_value_t> events;
    for (uint32_t i = 0; i < 300; ++i) {
        events.push_back(ValueAt(3 * i, i % 40));
    }
    for (uint32_t i = 0; i < 300; ++i) {
        events.push_back(ValueAt(1000, 40 + i % 10));
    }
    SplitBlock::Events list;
    for (const auto& e : events) {
        list.push_back(&e.header);
    }
    SplitBlock block(1024, list);
    SplitRecorder recorder(block.left.data());
    zkplug::ClapBlockSplitter splitter(64);
    splitter.Process(block.process, &SplitRecorder::Next, &recorder);

    uint32_t frames = 0;
    std::size_t delivered = 0;
    for (const auto& piece : recorder.pieces) {
        EXPECT_EQ(piece.start, frames);
        frames += piece.frames;
        for (const auto& [time, id] : piece.values) {
            EXPECT_EQ(time, 0u);
            const auto& sent = events[delivered++];
            EXPECT_EQ(id, sent.param_id);
            EXPECT_EQ(piece.start, sent.header.time) << "event " << delivered - 1;
        }
    }
    EXPECT_EQ(frames, 1024u);
    EXPECT_EQ(delivered, events.size());
    EXPECT_GT(splitter.ExtraPasses(), 0u);
}

} // namespace
