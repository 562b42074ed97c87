#include "cli/ValueFormat.h"
#include "cli/CliError.h"
#include "cli/Parameters.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using zkcli::FormatValue;
using zkcli::ParseNumber;
using zkcli::ParseValue;

std::string ErrorOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const zkcli::CliError& e) {
        return e.what();
    }
    return "(no error)";
}

TEST(ValueFormat, NumbersAreReadWithoutTheLocale) {
    EXPECT_EQ(ParseNumber("1.5"), 1.5);
    EXPECT_EQ(ParseNumber("1,5"), 1.5);
    EXPECT_EQ(ParseNumber(" -3 "), -3.0);
    EXPECT_EQ(ParseNumber("+2e3"), 2000.0);
    for (const char* bad : {"", "abc", "1.2.3", "1,2,3", "1.5,2", "3 dB", "inf", "nan", "--1"}) {
        EXPECT_FALSE(ParseNumber(bad).has_value()) << bad;
    }
    EXPECT_EQ(zkcli::FormatNumber(0.29f), "0.29");
    EXPECT_EQ(zkcli::FormatNumber(-0.0f), "0");
}

// Every unit's every parameter: min, max, default and values between read back as
// the same float from their text.
TEST(ValueFormat, FormatAndParseAreInverseOverEveryRange) {
    for (const zkcli::UnitKind& kind : zkcli::AllUnits()) {
        AudioUnitPtr unit = kind.open();
        const zkcli::ParameterCatalog catalog(kind, *unit);
        for (const zk::ParameterDef& p : kind.parameters) {
            const auto context = catalog.Context(p);
            std::vector<float> values = {p.minValue, p.maxValue, p.defaultValue};
            if (p.unit != kAudioUnitParameterUnit_Boolean && catalog.ValueStrings(p).empty()) {
                for (int i = 1; i < 50; ++i) {
                    values.push_back(p.minValue + (p.maxValue - p.minValue) * (i / 50.0f) +
                                     1e-3f * static_cast<float>(i));
                }
            }
            for (float v : values) {
                if (v < p.minValue || v > p.maxValue) {
                    continue;
                }
                const std::string text = FormatValue(context, v);
                EXPECT_EQ(ParseValue(context, text), v) << p.name << " \"" << text << "\"";
            }
        }
    }
}

TEST(ValueFormat, UnitsNamesAndSpecialTexts) {
    const zkcli::UnitKind& kind = *zkcli::FindUnit("10");
    AudioUnitPtr unit = kind.open();
    const zkcli::ParameterCatalog catalog(kind, *unit);
    auto parse = [&](const char* name, const char* text) {
        return ParseValue(catalog.Context(catalog.Find(name)), text);
    };
    auto format = [&](const char* name, float v) {
        return FormatValue(catalog.Context(catalog.Find(name)), v);
    };
    EXPECT_EQ(parse("MF f", "3150 Hz"), 3150.0f);
    EXPECT_EQ(parse("MF f", "2.5 kHz"), 2500.0f);
    EXPECT_EQ(parse("MF f", "2,5kHz"), 2500.0f);
    EXPECT_EQ(parse("LF Gain", "-3,5 dB"), -3.5f);
    EXPECT_EQ(parse("LF Gain", "6dB"), 6.0f);
    EXPECT_EQ(parse("HP on/off", "off"), 0.0f);
    EXPECT_EQ(parse("HP on/off", "ON"), 1.0f);
    EXPECT_EQ(parse("Auto listen mode", "q  f g"), 6.0f);
    EXPECT_EQ(parse("Auto listen mode", "- f -"), 1.0f);
    EXPECT_EQ(parse("Auto listen mode", "3"), 3.0f);
    EXPECT_EQ(format("Auto listen mode", 4.0f), "Q - G");
    EXPECT_EQ(format("HP on/off", 1.0f), "on");
    EXPECT_EQ(format("MF f", 3150.0f), "3150 Hz");
    EXPECT_EQ(format("MF Q", 2.0f), "2");
    EXPECT_EQ(format("Input Gain", -100.0f), "-100 dB");

    // Special texts read as the values that stand for them (the values the plug-ins
    // label, the editor's slope detents set), shown by the unit with the same text.
    struct Special {
        const char* name;
        const char* text;
        float value;
        const char* shown;
    };
    for (const Special& c : {Special{"LF Q", "lo-shelf", 0.29f, "lo-shelf"},
                             Special{"HF Q", "hi-shelf", 0.29f, "hi-shelf"},
                             Special{"HP Q", "6dB/oct.", 16.0f, "6dB/oct."},
                             Special{"HP Q", "12dB/oct", 18.0f, "12dB/oct."},
                             Special{"LP Q", "30dB/oct.", 24.0f, "30dB/oct."},
                             Special{"Input Gain", "-oo", -100.0f, "-oo"}}) {
        const auto context = catalog.Context(catalog.Find(c.name));
        const float v = ParseValue(context, c.text);
        EXPECT_EQ(v, c.value) << c.name << " " << c.text;
        EXPECT_EQ(zkcli::SpecialText(context, v), c.shown) << c.name << " " << c.text;
    }
}

TEST(ValueFormat, RefusalsNameTheParameterTheValueAndTheRange) {
    const zkcli::UnitKind& kind = *zkcli::FindUnit("10");
    AudioUnitPtr unit = kind.open();
    const zkcli::ParameterCatalog catalog(kind, *unit);
    const std::string range = ErrorOf([&] { catalog.ParseSetting("LF Gain=13"); });
    EXPECT_NE(range.find("\"LF Gain\""), std::string::npos) << range;
    EXPECT_NE(range.find("\"13\""), std::string::npos) << range;
    EXPECT_NE(range.find("-12 dB .. 12 dB"), std::string::npos) << range;
    EXPECT_NE(ErrorOf([&] { catalog.ParseSetting("HMF f=100"); }).find("400 Hz .. 26000 Hz"),
              std::string::npos);
    EXPECT_NE(
        ErrorOf([&] { catalog.ParseSetting("LF Gainz=1"); }).find("unknown parameter \"LF Gainz\""),
        std::string::npos);
    EXPECT_NE(ErrorOf([&] { catalog.ParseSetting("MF Gain=loud"); }).find("is not a number in dB"),
              std::string::npos);
    EXPECT_NE(ErrorOf([&] { catalog.ParseSetting("Auto listen mode=Q Q Q"); }).find("\"Q f G\""),
              std::string::npos);
    EXPECT_NE(ErrorOf([&] { catalog.ParseSetting("HP on/off=maybe"); }).find("not on or off"),
              std::string::npos);
    EXPECT_NE(ErrorOf([&] { catalog.ParseSetting("Output=0"); }).find("is a meter"),
              std::string::npos);
    EXPECT_NE(ErrorOf([&] { catalog.ParseSetting("LF Gain"); }).find("NAME=VALUE"),
              std::string::npos);
}

TEST(ValueFormat, ParametersAreFoundByNameSymbolOrId) {
    const zkcli::UnitKind& kind = *zkcli::FindUnit("zkmorva10");
    AudioUnitPtr unit = kind.open();
    const zkcli::ParameterCatalog catalog(kind, *unit);
    EXPECT_EQ(catalog.Find("LF Gain").id, 11u);
    EXPECT_EQ(catalog.Find("lf gain").id, 11u);
    EXPECT_EQ(catalog.Find("LfGain").id, 11u);
    EXPECT_EQ(catalog.Find("11").id, 11u);
    EXPECT_EQ(catalog.ParseSetting("19=-2").value, -2.0f);
    EXPECT_EQ(zkcli::FindUnit("Zkmorva 10"), &kind);
    EXPECT_EQ(zkcli::FindUnit("30"), nullptr);
}

} // namespace
