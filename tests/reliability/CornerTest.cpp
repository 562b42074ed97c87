// Every section at the corners of its ranges, alone and all together, at every
// host rate: the output stays finite and bounded for input within +-1, and the
// impulse response dies away. Low host rates put some corners at or past the
// processing Nyquist (a 26 kHz band at 22.05 kHz, the band limit at 8 kHz).
#include "tests/reliability/ReliabilityRig.h"

#include <gtest/gtest.h>

namespace {

using namespace zkrel;

// One section by the symbols of its controls (empty where it has none).
struct Section {
    const char* on;
    const char* quality;
    const char* frequency;
    const char* gain;
};

const std::vector<Section>& SectionsOf(const UnitKind& kind) {
    static const std::vector<Section> z10{
        {"HpOn", "HpQuality", "HpFrequency", nullptr},
        {"LfOn", "LfQuality", "LfFrequency", "LfGain"},
        {"LmfOn", "LmfQuality", "LmfFrequency", "LmfGain"},
        {"MfOn", "MfQuality", "MfFrequency", "MfGain"},
        {"HmfOn", "HmfQuality", "HmfFrequency", "HmfGain"},
        {"HfOn", "HfQuality", "HfFrequency", "HfGain"},
        {"LpOn", "LpQuality", "LpFrequency", nullptr},
        {"BsOn", nullptr, "BsFrequency", "BsGain"},
        {"PsOn", nullptr, "PsFrequency", "PsGain"},
        {"EqOn", nullptr, nullptr, "InputGain"},
        {"EqOn", nullptr, nullptr, "OutputGain"},
    };
    static const std::vector<Section> z20{
        {"Eq1HpOn", "Eq1HpQuality", "Eq1HpFrequency", nullptr},
        {"Eq1LfOn", "Eq1LfQuality", "Eq1LfFrequency", "Eq1LfGain"},
        {"Eq1LmfOn", "Eq1LmfQuality", "Eq1LmfFrequency", "Eq1LmfGain"},
        {"Eq1MfOn", "Eq1MfQuality", "Eq1MfFrequency", "Eq1MfGain"},
        {"Eq1HmfOn", "Eq1HmfQuality", "Eq1HmfFrequency", "Eq1HmfGain"},
        {"Eq1HfOn", "Eq1HfQuality", "Eq1HfFrequency", "Eq1HfGain"},
        {"Eq1LpOn", "Eq1LpQuality", "Eq1LpFrequency", nullptr},
        {"Bs1On", nullptr, "Bs1Frequency", "Bs1Gain"},
        {"Ps1On", nullptr, "Ps1Frequency", "Ps1Gain"},
        {"Eq2HfOn", "Eq2HfQuality", "Eq2HfFrequency", "Eq2HfGain"},
        {"MonoMakerOn", nullptr, "MonoMaker", nullptr},
        {"StereoWidthOn", nullptr, nullptr, "StereoWidth"},
        {"EqOn", nullptr, nullptr, "Input1Gain"},
        {"EqOn", nullptr, nullptr, "Output2Gain"},
    };
    return kind.parameters.size() == zk::kZkmorva10Parameters.size() ? z10 : z20;
}

const zk::ParameterDef& Def(const UnitKind& kind, const char* symbol) {
    const zk::ParameterDef* p = zk::FindParameter(kind.parameters, symbol);
    if (p == nullptr) {
        throw std::runtime_error(std::string("no parameter ") + symbol);
    }
    return *p;
}

// The 2^n corner settings of a section's controls (n = controls it has).
std::vector<Settings> CornerSettings(const UnitKind& kind, const Section& s) {
    std::vector<const char*> controls;
    for (const char* c : {s.quality, s.frequency, s.gain}) {
        if (c != nullptr) {
            controls.push_back(c);
        }
    }
    std::vector<Settings> out;
    for (unsigned mask = 0; mask < (1u << controls.size()); ++mask) {
        Settings set{{Def(kind, s.on).id, 1.0f}};
        for (std::size_t i = 0; i < controls.size(); ++i) {
            const zk::ParameterDef& p = Def(kind, controls[i]);
            set.emplace_back(p.id, (mask >> i) & 1 ? p.maxValue : p.minValue);
        }
        out.push_back(set);
    }
    return out;
}

// Everything at its minimum, or everything at its maximum, every switch on.
Settings AllAt(const UnitKind& kind, bool maximum) {
    Settings set;
    for (const zk::ParameterDef& p : kind.parameters) {
        if (!IsSettable(p) || p.id > kind.lastDispatched) {
            continue;
        }
        const std::string sym = p.symbol;
        if (p.unit == kAudioUnitParameterUnit_Boolean) {
            const bool off =
                sym.find("Solo") != std::string::npos || sym.find("Link") != std::string::npos;
            set.emplace_back(p.id, off ? 0.0f : 1.0f);
        } else if (p.unit != kAudioUnitParameterUnit_Indexed) {
            set.emplace_back(p.id, maximum ? p.maxValue : p.minValue);
        }
    }
    return set;
}

std::string Describe(const UnitKind& kind, const Settings& s) {
    std::string out;
    for (const auto& [id, v] : s) {
        out += std::string(zk::FindParameter(kind.parameters, id)->symbol) + "=" +
               std::to_string(v) + " ";
    }
    return out;
}

struct CornerCase {
    const UnitKind* kind;
    double rate;
};

class Corners : public testing::TestWithParam<CornerCase> {
protected:
    const UnitKind& Kind() const { return *GetParam().kind; }
    double Rate() const { return GetParam().rate; }

    // Impulse response, then full-scale noise: finite, bounded, decaying.
    void Check(const Settings& settings, float bound = 100.0f) {
        const auto frames = static_cast<std::size_t>(Rate() * 0.5);
        Channels impulse = Silence(Kind().channels, frames);
        for (auto& ch : impulse) {
            ch[0] = 1.0f;
        }
        Rig rig(Kind(), Rate(), 4096, settings);
        const Channels response = rig.Render(impulse, 4096);
        const Channels noisy = rig.Render(Noise(Kind().channels, 16384, 9, 1.0f), 4096);
        AudioCheck check;
        check.Add(response);
        check.Add(noisy);
        worst = std::max(worst, check.worst);
        EXPECT_EQ(check.nonFinite, 0) << Describe(Kind(), settings) << check.Describe();
        EXPECT_LT(check.worst, bound) << Describe(Kind(), settings);

        // The last fifth of half a second holds far less than the first fifth.
        const std::size_t fifth = frames / 5;
        double head = 0.0;
        double tail = 0.0;
        for (const auto& ch : response) {
            for (std::size_t i = 0; i < fifth; ++i) {
                head += double(ch[i]) * ch[i];
                tail += double(ch[frames - fifth + i]) * ch[frames - fifth + i];
            }
        }
        EXPECT_TRUE(tail < 1e-3 * head || tail < 1e-12)
            << Describe(Kind(), settings) << "head energy " << head << ", tail energy " << tail;
    }

    float worst = 0.0f;
};

TEST_P(Corners, EachSectionAtItsLimitsStaysFiniteBoundedAndDecays) {
    for (const Section& s : SectionsOf(Kind())) {
        for (const Settings& set : CornerSettings(Kind(), s)) {
            Check(set);
        }
    }
    RecordProperty("worst_abs_y", std::to_string(worst));
}

// Every gain at +12 dB in series may exceed the single-section bound; it must
// still stay finite and settle.
TEST_P(Corners, AllSectionsAtTheirLimitsTogether) {
    Check(AllAt(Kind(), false));
    Check(AllAt(Kind(), true), 1e5f);
    RecordProperty("worst_abs_y", std::to_string(worst));
}

std::vector<CornerCase> AllCases() {
    std::vector<CornerCase> cases;
    for (const UnitKind& k : Kinds()) {
        if (k.channels == 1) {
            continue; // the stereo channel EQ runs the same sections
        }
        for (double r : kRates) {
            cases.push_back({&k, r});
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Units, Corners, testing::ValuesIn(AllCases()),
                         [](const testing::TestParamInfo<CornerCase>& info) {
                             return std::string(info.param.kind->name) + "_" +
                                    RateName(info.param.rate);
                         });

} // namespace
