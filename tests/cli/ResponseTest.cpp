#include "cli/Response.h"
#include "CliTestSupport.h"
#include "cli/ResponsePlot.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace zkclitest;

zkcli::Response Measure(std::vector<std::string> sets, std::vector<double> freqs) {
    return zkcli::MeasureForCommand(*zkcli::FindUnit("10"), std::nullopt, sets, freqs, 48000.0);
}

TEST(Response, ToneAmplitudeFitsAnyPhase) {
    std::vector<float> tone(4800);
    for (double phase : {0.0, 0.7, 2.5}) {
        for (std::size_t n = 0; n < tone.size(); ++n) {
            tone[n] = static_cast<float>(
                0.4 * std::sin(2 * std::numbers::pi * 997.0 * n / 48000.0 + phase));
        }
        EXPECT_NEAR(zkcli::ToneAmplitude(tone, 997.0, 48000.0, 100), 0.4, 1e-6);
    }
}

// A +6 dB bell reads +6 dB at its frequency and little far from it.
TEST(Response, BellReadsItsGainAtItsFrequency) {
    const auto r = Measure({"MF f=1000", "MF Gain=6", "MF Q=2"}, {200.0, 1000.0, 8000.0});
    ASSERT_EQ(r.gainDb.size(), 1u);
    EXPECT_NEAR(r.gainDb[0][1], 6.0, 0.1);
    EXPECT_NEAR(r.gainDb[0][0], 0.0, 0.3);
    EXPECT_NEAR(r.gainDb[0][2], 0.0, 0.3);
    const auto cut = Measure({"LMF f=315", "LMF Gain=-9"}, {315.0});
    EXPECT_NEAR(cut.gainDb[0][0], -9.0, 0.1);
}

TEST(Response, FrequencyGridIsLogSpacedAndHoldsExtras) {
    const double extra[] = {1000.0};
    const auto f = zkcli::LogFrequencies(20.0, 20000.0, 4, extra);
    ASSERT_EQ(f.size(), 5u);
    EXPECT_DOUBLE_EQ(f[0], 20.0);
    EXPECT_NEAR(f[1], 200.0, 1e-9);
    EXPECT_NEAR(f[3], 2000.0, 1e-9);
    EXPECT_DOUBLE_EQ(f[2], 1000.0);
    EXPECT_NEAR(f[4], 20000.0, 1e-9);
}

// The command prints the table and draws the plot.
TEST(Response, CommandWritesTableAndPng) {
    ScratchFolder dir;
    const auto png = dir / "r.png";
    std::string out, err;
    ASSERT_EQ(RunCli({"response", "--set", "HF Gain=6", "--points", "7", "--png", png.string()},
                     &out, &err),
              0)
        << err;
    EXPECT_NE(out.find("20000.0"), std::string::npos) << out;
    cairo_surface_t* s = cairo_image_surface_create_from_png(png.c_str());
    ASSERT_EQ(cairo_surface_status(s), CAIRO_STATUS_SUCCESS);
    EXPECT_EQ(cairo_image_surface_get_width(s), 960);
    EXPECT_EQ(cairo_image_surface_get_height(s), 540);
    cairo_surface_destroy(s);
    EXPECT_EQ(dir.Names(), std::vector<std::string>{"r.png"}); // no temporary left
}

TEST(Response, PlotRangeWidensToHoldTheCurve) {
    zkcli::Response r{{100.0, 1000.0}, {{-3.0, 14.0}}};
    EXPECT_EQ(zkcli::PlotRange(r), (std::pair<double, double>{-12.0, 18.0}));
    r.gainDb[0] = {-100.0, 0.0};
    EXPECT_EQ(zkcli::PlotRange(r), (std::pair<double, double>{-60.0, 12.0}));
}

} // namespace
