// Every number text a host or the editor shows, and what they read back, is the
// same in any locale. ctest starts this suite with LC_ALL=de_DE.UTF-8 (a decimal
// comma); the suite takes that locale from the environment as a host does,
// records every text, then records them again in the C locale and compares.
//
// Recorded: the units' texts for values (property 33) at the ends, the middle
// and the default of every parameter; the units' reading of typed values
// (property 38); every display function across its range; every parse function
// on those texts and on typed corpus; a display without a conversion.
#include "editor/DisplayStrings.h"
#include "editor/ParseStrings.h"
#include "framework/AUBase.h"
#include "units/Zkmorva10AU.h"
#include "units/Zkmorva10Parameters.h"
#include "units/Zkmorva20AU.h"
#include "units/Zkmorva20Parameters.h"
#include "widgets/CTextEdit.h"

#include <gtest/gtest.h>

#include <bit>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Display = void (*)(float, char*);
using Parse = float (*)(CControl*);

constexpr Display kDisplays[] = {dB2string,
                                 dB2stringEq,
                                 dB2stringIs,
                                 quality2string,
                                 quality2stringHiLoPass,
                                 quality2stringLoShelv,
                                 quality2stringHiShelv,
                                 frequency2string20_1000,
                                 frequency2string20_26000,
                                 frequency2string400_26000,
                                 frequency2string40_200,
                                 frequency2string8000_20000,
                                 frequency2stringOff_26000,
                                 frequency2string20_Off,
                                 percent2stringStWi};
constexpr Parse kParses[] = {string2dB,
                             string2dBEq,
                             string2quality,
                             string2qualityHiLoPass,
                             string2qualityShelv,
                             string2frequency20_1000,
                             string2frequency20_26000,
                             string2frequency400_26000,
                             string2frequency40_200,
                             string2frequency8000_20000,
                             string2percentStWi};
const char* const kTyped[] = {
    "1.5",  "1,5", "-12,25 dB", "2,5k", "2.5K",  " 440 Hz", "1e3", "0,29", "26000", "-oo", "off",
    "Mono", "",    "abc",       "+7,5", "1.2.3", "1,2,3",   "inf", "nan",  "0x10",  "-0",  "100 %"};

void RecordUnit(AUBase& unit, std::span<const zk::ParameterDef> table,
                std::vector<std::string>& out) {
    for (const zk::ParameterDef& p : table) {
        for (float v : {p.minValue, p.maxValue, p.defaultValue, 0.5f * (p.minValue + p.maxValue)}) {
            AudioUnitParameterStringFromValue request{p.id, &v, nullptr};
            UInt32 size = sizeof request;
            const OSStatus status =
                AudioUnitGetProperty(&unit, kAudioUnitProperty_ParameterStringFromValue,
                                     kAudioUnitScope_Global, 0, &request, &size);
            out.push_back(std::to_string(status) + " " +
                          (request.outString ? request.outString : "(number)"));
        }
        for (const char* text : kTyped) {
            AudioUnitParameterValueFromString request{p.id, text, -1.0f};
            UInt32 size = sizeof request;
            const OSStatus status =
                AudioUnitGetProperty(&unit, kAudioUnitProperty_ParameterValueFromString,
                                     kAudioUnitScope_Global, 0, &request, &size);
            out.push_back(std::to_string(status) + " " +
                          std::to_string(std::bit_cast<std::uint32_t>(request.outValue)));
        }
    }
}

std::vector<std::string> Record() {
    std::vector<std::string> out;
    RecordUnit(*OpenZkmorva10(), zk::kZkmorva10Parameters, out);
    RecordUnit(*OpenZkmorva20(), zk::kZkmorva20Parameters, out);

    std::vector<std::string> shown(std::begin(kTyped), std::end(kTyped));
    for (Display display : kDisplays) {
        for (int i = 0; i <= 256; ++i) {
            char text[kDisplayTextSize] = {};
            display(static_cast<float>(i) / 256.f, text);
            shown.emplace_back(text);
        }
    }
    out.insert(out.end(), shown.begin(), shown.end());
    for (const std::string& text : shown) {
        CTextEdit box(CRect(0, 0, 52, 14), nullptr, 1, text.c_str());
        for (Parse parse : kParses) {
            out.push_back(std::to_string(std::bit_cast<std::uint32_t>(parse(&box))));
        }
    }
    const CParamDisplay plain(CRect(0, 0, 60, 14));
    for (float v : {1.5f, -0.25f, 1234.567f, 0.004f}) {
        out.push_back(plain.valueToString(v));
    }
    return out;
}

TEST(LocaleTexts, HostAndEditorTextsAreTheSameUnderGermanAsUnderC) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, ""); // the environment's, as a host application takes it
    if (std::strcmp(std::localeconv()->decimal_point, ",") != 0) {
        const char* all = std::getenv("LC_ALL");
        std::setlocale(LC_ALL, before.c_str());
        if (all != nullptr && std::strncmp(all, "de_DE", 5) == 0) {
            FAIL() << "LC_ALL=" << all << " gives no decimal comma: the locale is not installed";
        }
        GTEST_SKIP() << "not started with a German locale (ctest sets LC_ALL=de_DE.UTF-8)";
    }
    const std::vector<std::string> german = Record();
    std::setlocale(LC_ALL, "C");
    const std::vector<std::string> c = Record();
    std::setlocale(LC_ALL, before.c_str());
    ASSERT_EQ(german.size(), c.size());
    for (std::size_t i = 0; i < c.size(); ++i) {
        EXPECT_EQ(german[i], c[i]) << "record " << i;
    }
}

} // namespace
