// The spectrum analyser in both editors, on real units: when it reads the
// instance's samples, what it draws, and the pictures with it on.

#include "EditorRig.h"

#include "editor/CTextButton.h"
#include "editor/CZkmorvaSpectrumView.h"
#include "editor/SpectrumLayout.h"
#include "editor/SpectrumPanel.h"
#include "editor/Zkmorva10Layout.h"
#include "editor/Zkmorva20Layout.h"
#include "editor/spectrum/SpectrumMath.h"
#include "framework/SampleRing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

namespace {

using zkeditor::SpectrumPanel;
using zktest::Rig10;
using zktest::Rig20;

constexpr double kRate = 48000.0;

// Plays `seconds` of a stereo signal through the rig's unit block by block, as
// the plug-in does: each block's input and output go into the ring, and the panel
// takes a frame every 1/30 s.
template <class Rig, class Source>
void Play(Rig& rig, SampleRing& ring, SpectrumPanel& panel, Source&& next, double seconds) {
    constexpr std::size_t kBlock = 512;
    const auto blocks = static_cast<std::size_t>(seconds * kRate / kBlock);
    std::vector<std::vector<float>> in(2, std::vector<float>(kBlock));
    double sinceFrame = 0.0;
    for (std::size_t b = 0; b < blocks; ++b) {
        for (std::size_t i = 0; i < kBlock; ++i) {
            const auto [left, right] = next();
            in[0][i] = static_cast<float>(left);
            in[1][i] = static_cast<float>(right);
        }
        const auto out = rig.host.Render(in, kBlock);
        if (ring.BeginBlock(kBlock) == kBlock) {
            for (std::size_t c = 0; c < 2; ++c) {
                ring.Write(c, in[c].data());
                ring.Write(2 + c, out[c].data());
            }
        }
        ring.Commit();
        sinceFrame += kBlock / kRate;
        if (sinceFrame >= SpectrumPanel::kFrameInterval) {
            panel.Update();
            sinceFrame = 0.0;
        }
    }
}

auto PinkNoise(unsigned seed) {
    return [random = std::mt19937(seed), white = std::normal_distribution<double>(0.0, 0.004),
            b = std::array<double, 3>{}]() mutable {
        const double w = white(random);
        b[0] = 0.99765 * b[0] + w * 0.0990460;
        b[1] = 0.96300 * b[1] + w * 0.2965164;
        b[2] = 0.57000 * b[2] + w * 1.0526913;
        const double pink = b[0] + b[1] + b[2] + w * 0.1848;
        return std::pair(pink, 0.7 * pink);
    };
}

// Level of a trace at a frequency (the view's column there).
double LevelAt(const CZkmorvaSpectrumView::Trace& trace, const CRect& view, double hz) {
    const auto column = static_cast<std::size_t>(
        std::lround(zkspectrum::ColumnOfFrequency(hz, view.width(), 20.0, 40000.0)));
    return trace.levels.at(column);
}

// Off when the editor opens; on, the panel reads the ring only while the curve is
// in sight, and lets go of it when the panel folds or the analyser is switched
// off (the audio side then copies nothing). Without a ring it says why.
TEST(SpectrumPanel, ReadsOnlyWhileOnAndInSight) {
    auto rig = zktest::MakeRig10(kRate);
    SpectrumPanel* panel = rig->editor->getSpectrum();
    ASSERT_NE(panel, nullptr);
    EXPECT_FALSE(panel->Settings().on);

    rig->Click(Rig10::Centre(zkeditor::kZkmorva10Spectrum.onSwitch));
    ASSERT_TRUE(panel->Settings().on);
    EXPECT_FALSE(panel->IsReading());
    EXPECT_NE(panel->getView()->getNote().find("another process"), std::string::npos);

    SampleRing ring(4, 32768);
    panel->UseRing(&ring);
    panel->Update();
    EXPECT_TRUE(ring.IsAttached());
    EXPECT_TRUE(panel->getView()->getNote().empty());

    rig->Click(Rig10::Centre(zk10layout::PanelToggleRect(1024)));
    panel->Update();
    EXPECT_FALSE(ring.IsAttached()) << "folded away";
    rig->Click(Rig10::Centre(zk10layout::PanelToggleRect(585)));
    panel->Update();
    EXPECT_TRUE(ring.IsAttached()) << "unfolded";

    // Animate keeps its own frame rate, whatever the idle callback's.
    EXPECT_TRUE(panel->Animate(10.0));
    EXPECT_FALSE(panel->Animate(10.0 + 0.5 * SpectrumPanel::kFrameInterval));
    EXPECT_TRUE(panel->Animate(10.0 + SpectrumPanel::kFrameInterval));

    rig->Click(Rig10::Centre(zkeditor::kZkmorva10Spectrum.onSwitch));
    EXPECT_FALSE(ring.IsAttached()) << "switched off";
    EXPECT_TRUE(panel->getView()->getTraces().empty());
}

// Two-channel EQ, a 1 kHz tone at -6 dBFS in the left channel only (the EQ
// flat): as L/R the left traces read -6 dB there and the right ones nothing; as
// M/S mid and side both read -12 dB. "out" off leaves the input traces only.
TEST(SpectrumPanel, TwoChannelEqShowsLeftRightOrMidSide) {
    auto rig = zktest::MakeRig20(kRate);
    SpectrumPanel* panel = rig->editor->getSpectrum();
    SampleRing ring(4, 32768);
    panel->UseRing(&ring);
    const CRect& view = zkeditor::kZkmorva20Spectrum.view;
    std::uint64_t i = 0;
    auto leftTone = [&] {
        const double s = 0.5 * std::sin(2.0 * std::numbers::pi * 1000.0 * i++ / kRate);
        return std::pair(s, 0.0);
    };

    zk::SpectrumSettings s;
    s.on = true;
    panel->Apply(s);
    Play(*rig, ring, *panel, leftTone, 2.0);
    auto traces = panel->getView()->getTraces();
    ASSERT_EQ(traces.size(), 4u);
    for (std::size_t t = 0; t < 4; ++t) {
        SCOPED_TRACE(t);
        EXPECT_EQ(traces[t].output, t >= 2) << "inputs first";
        const double level = LevelAt(traces[t], view, 1000.0);
        if (t % 2 == 0) {
            EXPECT_NEAR(level, -6.0, 0.5) << "left at 1 kHz";
        } else {
            EXPECT_LT(level, -100.0) << "right at 1 kHz";
        }
    }
    EXPECT_EQ(traces[0].colour, zkeditor::kZkmorva20Spectrum.channelColour[0]);
    EXPECT_EQ(traces[1].colour, zkeditor::kZkmorva20Spectrum.channelColour[1]);

    rig->Click(Rig20::Centre(zkeditor::kZkmorva20Spectrum.msSwitch));
    ASSERT_TRUE(panel->Settings().midSide);
    rig->Click(Rig20::Centre(zkeditor::kZkmorva20Spectrum.outSwitch));
    ASSERT_FALSE(panel->Settings().output);
    Play(*rig, ring, *panel, leftTone, 2.0);
    traces = panel->getView()->getTraces();
    ASSERT_EQ(traces.size(), 2u);
    for (const auto& trace : traces) {
        EXPECT_FALSE(trace.output);
        EXPECT_NEAR(LevelAt(trace, view, 1000.0), -12.0, 0.5) << "mid and side at 1 kHz";
    }
    // "in" cannot go off as well: one of the two stays.
    rig->Click(Rig20::Centre(zkeditor::kZkmorva20Spectrum.inSwitch));
    EXPECT_TRUE(panel->Settings().input);
}

// The pictures with the analyser on (pink noise through the EQ, peaks held): the
// traces fill the curve's area, nothing else in the editor changes, and the
// curves still show on top.
template <class Rig>
void ShootWithSpectrum(Rig& rig, const zkeditor::SpectrumLayout& layout, const char* path) {
    SpectrumPanel* panel = rig.editor->getSpectrum();
    SampleRing ring(4, 32768);
    panel->UseRing(&ring);
    rig.view->Tick(); // the settings reach the curves
    const auto off = rig.Picture();
    zk::SpectrumSettings s;
    s.on = true;
    s.peakHold = true;
    panel->Apply(s);
    Play(rig, ring, *panel, PinkNoise(20), 3.0);
    const auto on = rig.Picture();

    EXPECT_GT(zktest::DifferentPixels(*on, *off, layout.view), layout.view.width() * 40)
        << "no spectrum drawn";
    CRect outside = layout.view;
    for (const CRect& r : {layout.onSwitch, layout.inSwitch, layout.outSwitch, layout.lrSwitch,
                           layout.msSwitch, layout.holdSwitch}) {
        if (!r.isEmpty()) {
            outside.unite(r);
        }
    }
    const int changed =
        zktest::DifferentPixels(*on, *off, CRect(0, 0, on->getWidth(), on->getHeight()));
    EXPECT_EQ(changed, zktest::DifferentPixels(*on, *off, outside)) << "changed outside";
    // The curves' lines (saturated red or blue) are still there.
    auto lines = [&](const COffscreenContext& image) {
        int n = 0;
        for (int y = layout.view.top; y < layout.view.bottom; ++y) {
            for (int x = layout.view.left; x < layout.view.right; ++x) {
                const CColor c = image.getPixel(x, y);
                n += (c.red > 200 && c.green < 80 && c.blue < 80) ||
                     (c.blue > 200 && c.red < 110 && c.green > 140 && c.green < 200);
            }
        }
        return n;
    };
    EXPECT_GE(lines(*on), lines(*off) * 9 / 10) << "the spectrum covers the curve";
    ASSERT_TRUE(on->writePNG(path));
}

TEST(SpectrumPanel, PicturesWithTheAnalyserOn) {
    {
        auto rig = zktest::MakeRig10(kRate);
        rig->host.Set(11, 6.f);    // LF gain
        rig->host.Set(19, -8.f);   // MF gain
        rig->host.Set(18, 1800.f); // MF frequency
        ShootWithSpectrum(*rig, zkeditor::kZkmorva10Spectrum,
                          ZK_SHOTS_DIR "/zkmorva10-spectrum.png");
    }
    {
        auto rig = zktest::MakeRig20(kRate);
        rig->host.Set(24, 6.f);   // channel 1 LF gain
        rig->host.Set(34, -8.f);  // channel 1 MF gain
        rig->host.Set(75, 8.f);   // channel 2 MF gain
        rig->host.Set(74, 900.f); // channel 2 MF frequency
        ShootWithSpectrum(*rig, zkeditor::kZkmorva20Spectrum,
                          ZK_SHOTS_DIR "/zkmorva20-spectrum.png");
    }
}

} // namespace
