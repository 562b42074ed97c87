// Command-line values read the same under a German locale (decimal comma) as
// under C, for every parameter of both units, reading never changes the process
// locale, and numbers are written back with a point. (The editor's and the
// units' texts are compared under German by LocaleTexts in the editor suite.)
// The build generates the locale into its own folder and points LOCPATH there;
// the suite fails when LOCPATH is set but holds no usable German locale, and
// skips when it is not set.
#include "cli/CliError.h"
#include "cli/ValueFormat.h"
#include "units/Zkmorva10Parameters.h"
#include "units/Zkmorva20Parameters.h"

#include <gtest/gtest.h>

#include <bit>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

const char* const kCorpus[] = {
    "1.5",  "1,5",      "-3",        "2e3",       "1,5e3", "3.15 kHz",    "3,15 kHz", "2,5k",
    "2.5K", " 440 Hz ", "-12,25 dB", "12dB/oct.", "6dB",   "-oo",         "lo-shelf", "hi-shelf",
    "on",   "off",      "true",      "Q f G",     "Mono",  "100 %",       "12,5%",    "0x10",
    "1e-3", "inf",      "nan",       "",          "abc",   "1.2.3",       "1,2,3",    "+7,5",
    "0,29", "26000",    "1e40",      "-0",        "٣",     "1\302\240000" /* no-break space */};

// Switches to German for its scope; the previous locale comes back.
class German {
public:
    German() : previous(std::setlocale(LC_ALL, nullptr)) {
        active = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr &&
                 std::strcmp(std::localeconv()->decimal_point, ",") == 0;
    }
    ~German() { std::setlocale(LC_ALL, previous.c_str()); }
    German(const German&) = delete;
    German& operator=(const German&) = delete;
    bool Active() const { return active; }

private:
    std::string previous;
    bool active = false;
};

void RequireGerman(const German& g) {
    if (g.Active()) {
        return;
    }
    if (const char* dir = std::getenv("LOCPATH")) {
        FAIL() << "LOCPATH=" << dir << " holds no loadable de_DE.UTF-8";
    }
    GTEST_SKIP() << "no German locale (set LOCPATH to a folder holding de_DE.UTF-8)";
}

// Float results compare by their bits: NaN and -0 included.
std::uint32_t Bits(float v) {
    return std::bit_cast<std::uint32_t>(v);
}
// Each parameter's parse of each text: the value's bits or the error message.
std::vector<std::string> RendererResults() {
    static const std::vector<std::string> modes(std::begin(zk::kAutoListenModeNames),
                                                std::end(zk::kAutoListenModeNames));
    std::vector<std::string> out;
    auto run = [&](std::span<const zk::ParameterDef> table,
                   std::span<const zk::ValueTextRule> texts) {
        for (const zk::ParameterDef& def : table) {
            const bool indexed = def.unit == kAudioUnitParameterUnit_Indexed;
            const zkcli::ValueContext context{
                def, indexed ? std::span<const std::string>(modes) : std::span<const std::string>(),
                texts};
            for (const std::string text : kCorpus) {
                try {
                    out.push_back(std::to_string(Bits(zkcli::ParseValue(context, text))));
                } catch (const zkcli::CliError& e) {
                    out.push_back(e.what());
                }
                const auto n = zkcli::ParseNumber(text);
                out.push_back(n ? std::to_string(std::bit_cast<std::uint64_t>(*n)) : "none");
            }
        }
    };
    run(zk::kZkmorva10Parameters, zk::kZkmorva10ValueTexts);
    run(zk::kZkmorva20Parameters, zk::kZkmorva20ValueTexts);
    return out;
}

TEST(Locale, RendererValuesReadAndWriteTheSameUnderGerman) {
    const std::vector<std::string> c = RendererResults();
    German german;
    RequireGerman(german);
    const std::string locale = std::setlocale(LC_ALL, nullptr);
    const std::vector<std::string> de = RendererResults();
    ASSERT_EQ(de.size(), c.size());
    for (std::size_t i = 0; i < c.size(); ++i) {
        EXPECT_EQ(de[i], c[i]) << "result " << i;
    }
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), locale);
    EXPECT_STREQ(std::localeconv()->decimal_point, ",");
    EXPECT_EQ(zkcli::FormatNumber(0.29f), "0.29");
    EXPECT_EQ(zkcli::FormatNumber(-12.5f), "-12.5");
}

} // namespace
