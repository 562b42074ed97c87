// The VST3 plug-ins in a small host of our own: parameter points inside a block
// land on their frame, and the unit's own changes reach the host's output
// parameter changes; and the block splitter alone, with a recording process
// call behind it.

#include "tests/plugins/Vst3Host.h"
#include "plugins/core/ProcessReport.h"
#include "plugins/core/UnitDescriptor.h"
#include "plugins/dpf/Vst3BlockSplitter.h"
#include "tests/plugins/DirectDrive.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using namespace zktest;

// DPF's VST3 id of our parameter 0 (its internal parameters come first).
constexpr v3_param_id kFirstId = ZK_VST3_FIRST_PARAMETER_ID;

std::string ModulePath(const std::string& name) {
    const std::filesystem::path contents =
        std::filesystem::path(ZK_PLUGIN_BIN) / (name + ".vst3") / "Contents";
    for (const auto& arch : std::filesystem::directory_iterator(contents)) {
        const auto so = arch.path() / (name + ".so");
        if (std::filesystem::exists(so)) {
            return so.string();
        }
    }
    throw std::runtime_error("no module in " + contents.string());
}

struct Vst3Case {
    const char* name;
    const zkplug::UnitDescriptor& (*unit)();
    std::vector<const char*> outputGains;
};

const zk::ParameterDef& Def(const zkplug::UnitDescriptor& unit, const char* symbol) {
    const zk::ParameterDef* p = zk::FindParameter(unit.parameters, symbol);
    if (p == nullptr) {
        throw std::runtime_error(std::string("no parameter ") + symbol);
    }
    return *p;
}

double Normalised(const zk::ParameterDef& p, double plain) {
    return (plain - p.minValue) / (static_cast<double>(p.maxValue) - p.minValue);
}

class Vst3Plugin : public ::testing::TestWithParam<Vst3Case> {};

// As for CLAP: an output gain point at offset 37 of the third block; before it
// the default sound, from it on the sound with the new gain from the start.
TEST_P(Vst3Plugin, PointsInsideABlockLandOnTheirFrame) {
    const zkplug::UnitDescriptor& unit = GetParam().unit();
    const int32_t block = 256;
    const std::size_t step = 2 * block + 37;
    const Channels input = TestSignal(unit.channels, 4 * block);
    std::vector<Vst3Point> points;
    Settings stepped;
    for (const char* gain : GetParam().outputGains) {
        const zk::ParameterDef& p = Def(unit, gain);
        const double n = Normalised(p, -6.0);
        points.push_back({kFirstId + p.id, static_cast<int32_t>(step % block), n});
        // The plain value as VST3 hosts and DPF map it back.
        stepped.push_back({p.id, static_cast<float>(n * (p.maxValue - p.minValue) + p.minValue)});
    }
    const Channels before = DirectDrive(unit.open(), 48000.0, block, {}, input, block);
    const Channels after = DirectDrive(unit.open(), 48000.0, block, stepped, input, block);
    ASSERT_NE(before[0][step], after[0][step]);

    Vst3Instance p(ModulePath(GetParam().name), 48000.0, block);
    Channels in = input, out = input;
    for (std::size_t pos = 0; pos < input[0].size(); pos += block) {
        std::vector<float*> ip, op;
        for (std::size_t c = 0; c < input.size(); ++c) {
            ip.push_back(in[c].data() + pos);
            op.push_back(out[c].data() + pos);
        }
        p.Process(ip, op, block, pos == step - step % block ? points : std::vector<Vst3Point>{});
    }
    for (std::size_t c = 0; c < out.size(); ++c) {
        for (std::size_t i = 0; i < out[c].size(); ++i) {
            ASSERT_EQ(out[c][i], (i < step ? before : after)[c][i])
                << "channel " << c << ", frame " << i << " (step at " << step << ")";
        }
    }
}

std::string CaseName(const ::testing::TestParamInfo<Vst3Case>& info) {
    std::string n = info.param.name;
    std::replace(n.begin(), n.end(), '-', '_');
    return n;
}

INSTANTIATE_TEST_SUITE_P(
    Zkmorva, Vst3Plugin,
    ::testing::Values(Vst3Case{"zkmorva10-mono", &zkplug::Zkmorva10Mono, {"OutputGain"}},
                      Vst3Case{"zkmorva10-stereo", &zkplug::Zkmorva10Stereo, {"OutputGain"}},
                      Vst3Case{"zkmorva20", &zkplug::Zkmorva20, {"Output1Gain", "Output2Gain"}}),
    CaseName);

// With the links on (the default), the left LF gain set at offset 37 moves the
// right one, and the host's output changes say so at that offset.
TEST(Vst3Zkmorva20, TheUnitsOwnChangesReachTheHostAtTheirFrame) {
    const zkplug::UnitDescriptor& unit = zkplug::Zkmorva20();
    const zk::ParameterDef& left = Def(unit, "Eq1LfGain");
    const zk::ParameterDef& right = Def(unit, "Eq2LfGain");
    Vst3Instance p(ModulePath("zkmorva20"), 48000.0, 256);
    std::vector<float> a(256, 0.0f), b(256, 0.0f);
    const auto out = p.Process({a.data(), b.data()}, {a.data(), b.data()}, 256,
                               {{kFirstId + left.id, 37, Normalised(left, 6.0)}});
    const auto partner = std::find_if(
        out.begin(), out.end(), [&](const Vst3Point& q) { return q.id == kFirstId + right.id; });
    ASSERT_NE(partner, out.end()) << "no output change for Eq2LfGain";
    EXPECT_EQ(partner->offset, 37);
    EXPECT_NEAR(partner->value, Normalised(right, 6.0), 1e-9);
}

// The splitter alone. The process call behind it records the changes it gets
// and where its buffers start, adds a reading at its last frame as DPF does,
// and reports a change of the unit's own in the piece that starts at frame 37.
struct Vst3Recorder {
    struct Piece {
        int32_t start;
        int32_t frames;
        std::vector<Vst3Point> points;
    };
    static v3_result Next(void* context, v3_process_data* data) {
        auto* self = static_cast<Vst3Recorder*>(context);
        Piece piece{static_cast<int32_t>(data->inputs[0].channel_buffers_32[0] - self->in),
                    data->nframes,
                    {}};
        v3_param_changes** in = data->input_params;
        for (int32_t i = 0; i < v3_cpp_obj(in)->get_param_count(in); ++i) {
            v3_param_value_queue** q = v3_cpp_obj(in)->get_param_data(in, i);
            for (int32_t j = 0; j < v3_cpp_obj(q)->get_point_count(q); ++j) {
                Vst3Point point{v3_cpp_obj(q)->get_param_id(q), 0, 0.0};
                v3_cpp_obj(q)->get_point(q, j, &point.offset, &point.value);
                piece.points.push_back(point);
            }
        }
        v3_param_changes** out = data->output_params;
        v3_param_id meter = 900;
        int32_t index = 0;
        v3_param_value_queue** q = v3_cpp_obj(out)->add_param_data(out, &meter, &index);
        v3_cpp_obj(q)->add_point(q, data->nframes - 1, 0.25, &index);
        if (piece.start == 37 && zkplug::CurrentProcessReport() != nullptr) {
            zkplug::CurrentProcessReport()->Add(1, 5.0f);
        }
        self->pieces.push_back(piece);
        return V3_OK;
    }
    const float* in;
    std::vector<Piece> pieces;
};

TEST(Vst3BlockSplitter, CutsTheBlockAtEveryPointAndHandsOnEachValue) {
    // Parameter ids 3.. are host indices 0..; index 1 ranges over [-10, 10].
    zkplug::Vst3BlockSplitter splitter(3, {{0.0f, 1.0f}, {-10.0f, 10.0f}, {0.0f, 1.0f}});
    Vst3Changes in({{3, 0, 0.1}, {3, 37, 0.5}, {3, 37, 0.6}, {4, 100, 0.7}, {5, 300, 0.8}});
    Vst3Changes out;
    std::vector<float> left(256), right(256);
    std::vector<float*> channels{left.data(), right.data()};
    v3_audio_bus_buffers bus{};
    bus.num_channels = 2;
    bus.channel_buffers_32 = channels.data();
    v3_process_data data{};
    data.symbolic_sample_size = V3_SAMPLE_32;
    data.nframes = 256;
    data.num_input_buses = data.num_output_buses = 1;
    data.inputs = data.outputs = &bus;
    data.input_params = in.Com();
    data.output_params = out.Com();
    Vst3Recorder recorder{left.data(), {}};
    ASSERT_EQ(splitter.Process(data, &Vst3Recorder::Next, &recorder), V3_OK);

    auto same = [](const std::vector<Vst3Point>& a, const std::vector<Vst3Point>& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
            return x.id == y.id && x.offset == y.offset && x.value == y.value;
        });
    };
    const auto& pieces = recorder.pieces;
    ASSERT_EQ(pieces.size(), 4u);
    EXPECT_EQ(pieces[0].start, 0);
    EXPECT_EQ(pieces[0].frames, 37);
    EXPECT_TRUE(same(pieces[0].points, {{3, 0, 0.1}}));
    EXPECT_EQ(pieces[1].start, 37);
    EXPECT_EQ(pieces[1].frames, 63);
    EXPECT_TRUE(same(pieces[1].points, {{3, 0, 0.5}, {3, 0, 0.6}})); // each, in order
    EXPECT_EQ(pieces[2].start, 100);
    EXPECT_TRUE(same(pieces[2].points, {{4, 0, 0.7}}));
    EXPECT_EQ(pieces[3].start, 255); // past the block: its last frame
    EXPECT_EQ(pieces[3].frames, 1);
    EXPECT_TRUE(same(pieces[3].points, {{5, 0, 0.8}}));

    // Readings at each piece's last frame of the block; the unit's change at 37,
    // normalised: (5 - -10) / 20.
    EXPECT_TRUE(same(
        out.Points(),
        {{900, 36, 0.25}, {900, 99, 0.25}, {900, 254, 0.25}, {900, 255, 0.25}, {4, 37, 0.75}}));
}

} // namespace
