// The two-channel unit through the renderer: links followed in renders and
// presets alike, meters in the summary.
#include "CliTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace zkclitest;

// Pink noise (-3 dB per octave from 20 Hz up) of about -20 dBFS; `seed` picks one
// of many independent ones.
std::vector<float> PinkNoise(std::size_t frames, unsigned seed) {
    std::vector<float> out(frames);
    double b0 = 0, b1 = 0, b2 = 0;
    for (std::size_t i = 0; i < frames; ++i) {
        seed = seed * 1664525u + 1013904223u;
        const double white = static_cast<double>(seed >> 8) / 16777216.0 - 0.5;
        b0 = 0.99765 * b0 + white * 0.0990460;
        b1 = 0.96300 * b1 + white * 0.2965164;
        b2 = 0.57000 * b2 + white * 1.0526913;
        out[i] = static_cast<float>(0.1 * (b0 + b1 + b2 + white * 0.1848));
    }
    return out;
}

// The lines a render summary gives for the input named `name` (up to the next one).
std::string SummaryOf(const std::string& out, const std::string& name) {
    const std::size_t start = out.find("/" + name + ".wav -> ");
    if (start == std::string::npos) {
        return "(no summary for " + name + ")";
    }
    return out.substr(start, out.find(" -> ", start + name.size() + 8) - start);
}

// A number field of the render of `name` in the JSON summary; NaN for null.
double JsonNumberAfter(const std::string& json, const std::string& name, const std::string& field) {
    const std::size_t render = json.find("/" + name + ".wav\",");
    const std::size_t at = json.find("\"" + field + "\": ", render);
    if (render == std::string::npos || at == std::string::npos) {
        return std::nan("");
    }
    return std::strtod(json.c_str() + at + field.size() + 4, nullptr);
}

// Settings act as host automation: the master link switch sets every link switch
// (the unit does that itself), while a band gain moves only its own channel (links
// follow a user's gestures, not automation). A preset holds exactly what a render
// with the same settings uses.
TEST(Zkmorva20, PresetsHoldWhatTheUnitMadeOfTheSettings) {
    ScratchFolder dir;
    WriteAudio(dir / "in.wav", TestSignal(2, 9000));
    const std::vector<std::string> sets = {
        "--unit", "20", "--set", "Master Link on/off=off", "--set", "LF L Gain=4"};
    std::vector<std::string> write = {"preset", "write", (dir / "p.aupreset").string()};
    write.insert(write.end(), sets.begin(), sets.end());
    ASSERT_EQ(RunCli(write), 0);
    std::string shown;
    ASSERT_EQ(RunCli({"preset", "show", (dir / "p.aupreset").string()}, &shown), 0);
    EXPECT_NE(shown.find("* Master Link on/off = off"), std::string::npos) << shown;
    EXPECT_NE(shown.find("* LF L Link on/off = off"), std::string::npos) << shown;
    EXPECT_NE(shown.find("* LP R Link on/off = off"), std::string::npos) << shown;
    EXPECT_NE(shown.find("* LF L Gain = 4 dB"), std::string::npos) << shown;
    EXPECT_NE(shown.find("  LF R Gain = 0 dB"), std::string::npos) << shown;
    EXPECT_EQ(shown.find("Balance"), std::string::npos) << "meters are not preset values";

    std::vector<std::string> render = {"render", (dir / "in.wav").string(),
                                       (dir / "set.wav").string()};
    render.insert(render.end(), sets.begin(), sets.end());
    ASSERT_EQ(RunCli(render), 0);
    ASSERT_EQ(RunCli({"render", (dir / "in.wav").string(), (dir / "preset.wav").string(),
                      "--preset", (dir / "p.aupreset").string()}),
              0);
    EXPECT_TRUE(FileBytes(dir / "set.wav") == FileBytes(dir / "preset.wav"));
    const Audio in = ReadAudio(dir / "in.wav");
    const Audio out = ReadAudio(dir / "set.wav");
    EXPECT_FALSE(out.channels[0] == in.channels[0]);
}

TEST(Zkmorva20, RefusesMoreThanTwoChannelsAndSettingMeters) {
    ScratchFolder dir;
    WriteAudio(dir / "three.wav", TestSignal(3, 1000));
    const RunResult r = RunZkmorva(
        {"render", (dir / "three.wav").string(), (dir / "out.wav").string(), "--unit", "20"},
        dir.path);
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("Zkmorva 20 takes mono or 2-channel input, the input has 3 channels"),
              std::string::npos)
        << r.err;
    EXPECT_EQ(dir.Names(), std::vector<std::string>{"three.wav"});
    std::string msg;
    EXPECT_EQ(RunCli({"preset", "write", (dir / "m.aupreset").string(), "--unit", "20", "--set",
                      "Correlation=1"},
                     nullptr, &msg),
              1);
    EXPECT_NE(msg.find("\"Correlation\" is a meter"), std::string::npos) << msg;
}

// The summary's correlation and balance come from the unit's own meters, read at
// every block, over 3 s of each signal: the same on both channels, opposite,
// independent pink noises, and one side only (the balance's end stops; a silent
// side counts as uncorrelated). Text and JSON give the same numbers.
TEST(Zkmorva20, MetersReportTheOutputsCorrelationAndBalance) {
    ScratchFolder dir;
    const std::size_t n = 3 * 48000;
    const auto tone = TestSignal(1, n)[0];
    const std::vector<float> silence(n, 0.0f);
    auto negated = tone;
    for (float& v : negated) {
        v = -v;
    }
    fs::create_directory(dir / "in");
    fs::create_directory(dir / "out");
    WriteAudio(dir / "in" / "identical.wav", {tone, tone});
    WriteAudio(dir / "in" / "inverted.wav", {tone, negated});
    WriteAudio(dir / "in" / "noises.wav", {PinkNoise(n, 1), PinkNoise(n, 2)});
    WriteAudio(dir / "in" / "left.wav", {tone, silence});
    WriteAudio(dir / "in" / "right.wav", {silence, tone});
    struct Expected {
        const char* name;
        double correlation, correlationTolerance, balance, balanceTolerance;
        const char* text; // the two summary lines, where they are exact
    };
    const Expected expected[] = {
        {"identical", 1.0, 0.0, 0.5, 0.0, "correlation  +1.000 (mean of 5 results, "},
        {"inverted", -1.0, 0.0, 0.5, 0.0, "correlation  -1.000 (mean of 5 results, "},
        {"noises", 0.0, 0.05, 0.5, 0.05, "balance      0.5"},
        {"left", 0.0, 0.0, 0.0, 0.0, "  balance      0.00 left only ("},
        {"right", 0.0, 0.0, 1.0, 0.0, "  balance      1.00 right only ("},
    };
    const std::vector<std::string> args = {"render", (dir / "in").string(), (dir / "out").string(),
                                           "--unit", "20"};
    const RunResult text = RunZkmorva(args, dir.path);
    auto withJson = args;
    withJson.push_back("--json");
    const RunResult json = RunZkmorva(withJson, dir.path);
    ASSERT_EQ(text.status, 0) << text.err;
    ASSERT_EQ(json.status, 0) << json.err;
    for (const Expected& e : expected) {
        const std::string summary = SummaryOf(text.out, e.name);
        EXPECT_NE(summary.find(e.text), std::string::npos) << summary;
        const double c = JsonNumberAfter(json.out, e.name, "correlation");
        const double b = JsonNumberAfter(json.out, e.name, "balance");
        EXPECT_NEAR(c, e.correlation, e.correlationTolerance) << e.name;
        EXPECT_NEAR(b, e.balance, e.balanceTolerance) << e.name;
        // Both views give the same value, correlation to three decimals and balance to
        // two.
        char line[64];
        std::snprintf(line, sizeof line, "correlation  %+.3f (", c);
        EXPECT_NE(summary.find(line), std::string::npos) << e.name << ": " << summary;
        std::snprintf(line, sizeof line, "balance      %.2f ", b);
        EXPECT_NE(summary.find(line), std::string::npos) << e.name << ": " << summary;
    }
}

} // namespace
