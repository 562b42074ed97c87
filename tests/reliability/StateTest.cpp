// Saved state as hosts and users hand it back: random settings round-trip into a
// new instance byte for byte and sound the same; hostile documents (empty,
// truncated, random bytes, non-finite or huge numbers, decimal commas, another
// unit's) are refused or clamped, never crash and never leave a half-applied
// state behind.
#include "framework/Base64.h"
#include "tests/reliability/ReliabilityRig.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>

namespace {

using namespace zkrel;

class State : public testing::TestWithParam<const UnitKind*> {
protected:
    const UnitKind& Kind() const { return *GetParam(); }
    const UnitKind& Other() const {
        return Kinds()[Kind().lastDispatched == zk::kZ20LastDispatched ? 0 : 2];
    }
};

// Settles the parameter events a restore or a link posts.
void Settle(Rig& rig) {
    for (int i = 0; i < 3; ++i) {
        rig.Pump();
        rig.Render(Silence(rig.Channels(), 16), 16);
    }
}

TEST_P(State, RandomSettingsRoundTripByteForByteAndSoundTheSame) {
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        Rig a(Kind(), 48000.0, 1024, RandomSettings(Kind(), seed));
        Settle(a);
        const std::string saved = a.Unit().SaveState();

        Rig b(Kind(), 48000.0, 1024);
        std::string error;
        ASSERT_EQ(b.Unit().RestoreState(saved, &error), noErr) << error;
        Settle(b);
        EXPECT_EQ(b.Unit().SaveState(), saved) << "seed " << seed;

        a.Reset();
        b.Reset();
        const Channels probe = Noise(Kind().channels, 4000, seed);
        EXPECT_TRUE(Identical(a.Render(probe, 500), b.Render(probe, 500))) << "seed " << seed;
    }
}

// A document with the data replaced by these (id, value) pairs.
std::string WithData(const std::string& doc,
                     const std::vector<std::pair<std::uint32_t, std::uint32_t>>& pairs) {
    std::vector<std::uint8_t> bytes;
    for (auto [id, bits] : pairs) {
        for (std::uint32_t x : {id, bits}) {
            for (int s = 24; s >= 0; s -= 8) {
                bytes.push_back(static_cast<std::uint8_t>(x >> s));
            }
        }
    }
    const std::size_t open = doc.find("<data>");
    const std::size_t close = doc.find("</data>");
    return doc.substr(0, open) + "<data>" + zkfw::plist::Base64Encode(bytes.data(), bytes.size()) +
           doc.substr(close);
}

std::string Replace(std::string s, const std::string& from, const std::string& to) {
    const std::size_t at = s.find(from);
    return at == std::string::npos ? s : s.replace(at, from.size(), to);
}

// Documents that must be refused; each with a reason for the failure message.
std::vector<std::pair<std::string, std::string>> Refusable(const std::string& valid,
                                                           const std::string& foreign) {
    std::vector<std::pair<std::string, std::string>> docs{
        {"", "empty"},
        {"<", "one byte"},
        {foreign, "another unit's document"},
        {Replace(valid, "<key>type</key>", "<key>tipe</key>"), "missing type"},
        {Replace(valid, "<integer>0</integer>", "<integer>7</integer>"), "newer version"},
        {Replace(valid, "<integer>0</integer>", "<integer>0,5</integer>"), "decimal comma"},
        {Replace(valid, "<integer>0</integer>", "<real>0.5</real>"), "version as a real"},
        {Replace(valid, "<dict>", "<array>"), "array root"},
        {WithData(valid,
                  {{3, std::bit_cast<std::uint32_t>(std::numeric_limits<float>::quiet_NaN())}}),
         "NaN value"},
        {WithData(valid, {{3, 0x7F800000u}}), "infinite value"},
        {WithData(valid, {{3, 0xFF800000u}}), "minus infinity"},
        {WithData(valid, {{9999, 0}}), "unknown id"},
        {WithData(valid, {{3, 0}, {3, 0}}), "duplicate id"},
        {Replace(valid, "<data>", "<data>@@"), "bad base64"},
    };
    for (std::size_t cut = 0; cut < valid.size(); cut += 1 + valid.size() / 97) {
        docs.emplace_back(valid.substr(0, cut), "truncated at " + std::to_string(cut));
    }
    std::mt19937 rng(4);
    std::string noise(1u << 20, '\0');
    for (char& c : noise) {
        c = static_cast<char>(rng());
    }
    docs.emplace_back(noise, "1 MB of random bytes");
    for (int i = 0; i < 200; ++i) {
        std::string d = valid;
        d[rng() % d.size()] = static_cast<char>(rng());
        docs.emplace_back(d, "one byte changed (" + std::to_string(i) + ")");
    }
    return docs;
}

// Through the unit and through the plug-ins' core: a refused document changes
// nothing and says why; the core's check agrees with its restore; a changed byte
// that still makes a valid document (a value, the name, whitespace) applies whole,
// as on a fresh unit.
TEST_P(State, HostileDocumentsAreRefusedAndChangeNothing) {
    Rig rig(Kind(), 44100.0, 512, RandomSettings(Kind(), 3));
    Settle(rig);
    const std::string before = rig.Unit().SaveState();
    zkplug::PluginCore core(DescriptorOf(Kind()));
    ASSERT_TRUE(core.Activate(48000.0, 256));
    ASSERT_TRUE(core.RestoreState(before));
    const std::string coreBefore = core.SaveState();
    Rig other(Other(), 44100.0, 512);
    for (const auto& [doc, why] : Refusable(before, other.Unit().SaveState())) {
        const bool accepted = core.RestoreState(doc);
        EXPECT_EQ(zkplug::PluginCore::IsAcceptableState(DescriptorOf(Kind()), doc), accepted)
            << why;
        if (!accepted) {
            EXPECT_EQ(core.SaveState(), coreBefore) << why;
        }
        ASSERT_TRUE(core.RestoreState(coreBefore));

        std::string error;
        const OSStatus status = rig.Unit().RestoreState(doc, &error);
        Settle(rig);
        EXPECT_EQ(status == noErr, accepted) << why;
        if (status == noErr) {
            Rig fresh(Kind(), 44100.0, 512);
            ASSERT_EQ(fresh.Unit().RestoreState(doc), noErr) << why;
            Settle(fresh);
            EXPECT_EQ(rig.Unit().SaveState(), fresh.Unit().SaveState()) << why;
            ASSERT_EQ(rig.Unit().RestoreState(before), noErr);
            Settle(rig);
            continue;
        }
        EXPECT_FALSE(error.empty()) << why;
        EXPECT_EQ(rig.Unit().SaveState(), before) << why << ": " << error;
    }
}

// Values past the ranges are clamped to them, and the unit renders finite audio.
TEST_P(State, HugeValuesAreClampedIntoTheRanges) {
    Rig rig(Kind(), 44100.0, 512);
    const std::string valid = rig.Unit().SaveState();
    std::vector<std::pair<std::uint32_t, std::uint32_t>> pairs;
    std::vector<AudioUnitParameterID> ids;
    for (const zk::ParameterDef& p : Kind().parameters) {
        if (IsSettable(p) && p.id <= Kind().lastDispatched) {
            const float v = p.id % 2 ? 3.0e38f : -3.0e38f;
            pairs.emplace_back(p.id, std::bit_cast<std::uint32_t>(v));
            ids.push_back(p.id);
        }
    }
    std::string error;
    ASSERT_EQ(rig.Unit().RestoreState(WithData(valid, pairs), &error), noErr) << error;
    Settle(rig);
    for (AudioUnitParameterID id : ids) {
        const zk::ParameterDef& p = *zk::FindParameter(Kind().parameters, id);
        AudioUnitParameterValue v = 0.0f;
        rig.Unit().PeekParameter(kAudioUnitScope_Global, 0, id, v);
        EXPECT_TRUE(v >= p.minValue && v <= p.maxValue) << p.symbol << " = " << v;
    }
    AudioCheck check;
    check.Add(rig.Render(Noise(Kind().channels, 8192, 1), 512));
    EXPECT_EQ(check.nonFinite, 0) << check.Describe();
}

// Takes the unit's own changes as a CLAP or VST3 host does.
struct Listening : zkplug::OwnChangeSink {
    void ParameterSetByUnit(std::uint32_t, float) override {}
};

// The plug-ins' path: whatever order a host restores its ports and the state in,
// the unit ends with the saved values and plays the same bits.
TEST_P(State, PluginCoreRestoresInAnyOrderAndPlaysTheSame) {
    const zkplug::UnitDescriptor& d = DescriptorOf(Kind());
    Listening sink;
    const Channels silence = Silence(Kind().channels, 64);
    const auto block = [&](zkplug::PluginCore& core, const Channels& x) {
        return ProcessCore(core, x, &sink);
    };
    zkplug::PluginCore saved(d);
    ASSERT_TRUE(saved.Activate(48000.0, 512));
    const auto& params = saved.Parameters();
    std::mt19937 rng(11);
    for (std::size_t i = 0; i < params.size(); ++i) {
        if (!params[i].output) {
            const float span = params[i].maxValue - params[i].minValue;
            saved.SetParameter(i, params[i].minValue +
                                      span * static_cast<float>(rng() % 1000) / 999.0f);
        }
    }
    block(saved, silence);
    const std::string doc = saved.SaveState();
    std::vector<float> ports(params.size());
    for (std::size_t i = 0; i < params.size(); ++i) {
        ports[i] = saved.GetParameter(i);
    }
    const auto replayPorts = [&](zkplug::PluginCore& core, bool ascending) {
        for (std::size_t k = 0; k < params.size(); ++k) {
            const std::size_t i = ascending ? k : params.size() - 1 - k;
            if (!params[i].output) {
                core.SetParameter(i, ports[i]);
            }
        }
    };
    const Channels probe = Noise(Kind().channels, 2048, 5);
    Channels heard;
    for (int order = 0; order < 3; ++order) {
        zkplug::PluginCore core(d);
        ASSERT_TRUE(core.Activate(48000.0, 512));
        // Two blocks before the probe in every order, so the filters' memory matches.
        if (order == 1) { // ports after the state
            ASSERT_TRUE(core.RestoreState(doc));
            replayPorts(core, true);
            block(core, silence);
        } else if (order == 2) { // ports before the state, highest index first
            replayPorts(core, false);
            block(core, silence);
            ASSERT_TRUE(core.RestoreState(doc));
        } else {
            ASSERT_TRUE(core.RestoreState(doc));
            block(core, silence);
        }
        block(core, silence);
        EXPECT_EQ(core.SaveState(), doc) << "order " << order;
        const Channels y = block(core, probe);
        if (order == 0) {
            heard = y;
        } else {
            EXPECT_EQ(y, heard) << "order " << order;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Units, State, testing::ValuesIn(KindPointers()), KindName());

} // namespace
