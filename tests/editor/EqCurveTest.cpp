#include "support/Measure.h"
#include "support/UnitHost.h"

#include "editor/CZkmorvaEqCurve.h"
#include "editor/CurveSections.h"
#include "editor/ValueMapping.h"
#include "units/Zkmorva10AU.h"
#include "widgets/CDrawContext.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

constexpr CColor kLine{255, 0, 0, 255};
constexpr CColor kFill{255, 191, 0, 255};
const CRect kCurveRect(10, 20, 410, 260); // 400 columns, 240 px high

// Input index of a channel EQ parameter.
long InputOf(AudioUnitParameterID id) {
    return static_cast<long>(id) - 6;
}

// The channel EQ and a curve fed the same settings, as the editor will feed it.
struct CurveAgainstUnit {
    CurveAgainstUnit() {
        for (long id = zk::kZ10HpQ; id <= zk::kZ10PresShiftOn; ++id) {
            Send(static_cast<AudioUnitParameterID>(id),
                 host.Get(static_cast<AudioUnitParameterID>(id)));
        }
    }
    void Set(AudioUnitParameterID id, float value) {
        host.Set(id, value);
        Send(id, value);
    }
    void Send(AudioUnitParameterID id, float value) {
        curve.setCurve(InputOf(id), zk10::ConvertToVSTValue(value, id));
    }
    // The curve's height at a column, in dB.
    double CurveDb(int column) const {
        const double pixels =
            curve.centreLine() - curve.getSolidCurve()[static_cast<std::size_t>(column)].v;
        return 20.0 * pixels / curve.pixelsPerDecade();
    }
    double UnitDb(double frequency) {
        return zktest::MeasureGainDb(
            [this](double* buffer, long n) {
                std::vector<float> in(buffer, buffer + n);
                const auto out = host.Render({in});
                std::copy(out[0].begin(), out[0].end(), buffer);
            },
            frequency, 44100.0, 0.1, 50);
    }
    // Curve and unit at columns spread over 30 Hz .. 12.8 kHz. Below 10 kHz the
    // only difference is the rounding to whole pixels (0.05 dB here); towards
    // half the rate the digital sections bend away from the analogue model.
    void ExpectAgreement() {
        for (int column : {20, 60, 100, 140, 170, 200, 230, 260, 290, 320, 340}) {
            const double f = curve.columnFrequency(column);
            EXPECT_NEAR(CurveDb(column), UnitDb(f), f < 10000.0 ? 0.15 : 0.5) << f << " Hz";
        }
    }

    zktest::UnitHost host{OpenZkmorva10(), 44100.0, 1};
    CZkmorvaEqCurve curve{kCurveRect, 20.f, 40000.f, kLine, kFill};
};

// The curve is an analogue model; the unit's sections are bilinear at twice the
// rate, so the two agree closely well below half the rate: the defaults (flat),
// bells, shelves (Q below 0.3) and the high-pass slopes. Not the low-pass: the
// unit reads its slope control as a resonant filter, which the curve does not
// model. A switched-off section leaves only the dashed curve.
TEST(EqCurve, MatchesTheUnitsMeasuredResponse) {
    using namespace zk;
    const std::vector<std::vector<std::pair<AudioUnitParameterID, float>>> cases{
        {},
        {{kZ10MfFreq, 1000.f}, {kZ10MfGain, 9.f}, {kZ10MfQ, 2.f}},
        {{kZ10HmfFreq, 6000.f}, {kZ10HmfGain, -7.5f}, {kZ10HmfQ, 0.7f}},
        {{kZ10LfQ, 0.29f}, {kZ10LfFreq, 150.f}, {kZ10LfGain, 8.f}},
        {{kZ10HfQ, 0.29f}, {kZ10HfFreq, 4000.f}, {kZ10HfGain, -6.f}},
        {{kZ10HpQ, 20.f}, {kZ10HpFreq, 120.f}}, // 18 dB/oct.
        {{kZ10HpQ, 24.f}, {kZ10HpFreq, 400.f}}, // 30 dB/oct.
    };
    for (const auto& settings : cases) {
        CurveAgainstUnit rig;
        for (const auto& [id, value] : settings) {
            rig.Set(id, value);
        }
        SCOPED_TRACE(settings.empty() ? 0 : settings.back().first);
        rig.ExpectAgreement();
        if (settings.empty()) {
            for (const CPoint& p : rig.curve.getSolidCurve()) {
                ASSERT_EQ(p.v, 140);
            }
        }
    }
    CurveAgainstUnit rig;
    const std::size_t column = 140;
    rig.Set(kZ10LmfGain, 10.f);
    rig.Set(kZ10LmfFreq, static_cast<float>(rig.curve.columnFrequency(column)));
    rig.Set(kZ10LmfOn, 0.f);
    rig.ExpectAgreement();
    EXPECT_LT(rig.curve.getDashedCurve()[column].v, 140 - 50);
    EXPECT_EQ(rig.curve.getSolidCurve()[column].v, 140);
}

// A 0 dB band adds exactly nothing, whatever its Q and frequency, in every model.
TEST(EqCurve, ZeroDecibelSectionsAddExactlyNothing) {
    for (double r : {0.001, 0.5, 0.99, 1.0, 1.5, 30.0}) {
        for (double q : {0.29, 0.3, 1.0, 15.0}) {
            EXPECT_EQ(zkeditor::curve::calcPeak(1.0, q, r, 200.0), 0.0);
        }
        EXPECT_EQ(zkeditor::curve::calcLoShelv(1.0, r, 200.0), 0.0);
        EXPECT_EQ(zkeditor::curve::calcHiShelv(1.0, r, 200.0), 0.0);
    }
    CZkmorvaEqCurve curve(kCurveRect, 20.f, 40000.f, kLine, kFill);
    curve.setCurve(1, 0.f);  // high-pass off
    curve.setCurve(24, 1.f); // low-pass off
    for (long band = 0; band < 5; ++band) {
        curve.setCurve(3 + 4 * band, 0.1f + 0.2f * band); // Q (band 1: a shelf)
        curve.setCurve(4 + 4 * band, 0.3f + 0.1f * band); // frequency
        curve.setCurve(5 + 4 * band, 0.5f);               // 0 dB
    }
    curve.setCurve(27, 0.5f);
    curve.setCurve(30, 0.5f);
    for (std::size_t i = 0; i < curve.getSolidCurve().size(); ++i) {
        EXPECT_EQ(curve.getSolidCurve()[i].v, 140) << i;
        EXPECT_EQ(curve.getDashedCurve()[i].v, 140) << i;
    }
}

TEST(EqCurve, CutFilterOffMarkersBeatTheEnableFlags) {
    CZkmorvaEqCurve curve(kCurveRect, 20.f, 40000.f, kLine, kFill);
    curve.setCurve(24, 1.f); // low-pass off
    curve.setCurve(0, 0.9f); // 24 dB/oct.
    curve.setCurve(1, 0.5f); // 721 Hz
    curve.setCurve(2, 1.f);
    EXPECT_GT(curve.getSolidCurve()[5].v, 140 + 100); // 20-odd Hz, far down
    curve.setCurve(1, 0.f);
    for (const CPoint& p : curve.getSolidCurve()) {
        ASSERT_EQ(p.v, 140);
    }
    EXPECT_EQ(curve.getDashedCurve()[5].v, 140);
    // The low-pass the other way round: frequency 1 is off.
    curve.setCurve(23, 0.7f);
    curve.setCurve(24, 0.5f);
    EXPECT_GT(curve.getDashedCurve()[390].v, 140 + 20);
    curve.setCurve(25, 0.f); // disabled: gone from the solid curve only
    EXPECT_EQ(curve.getSolidCurve()[390].v, 140);
    EXPECT_GT(curve.getDashedCurve()[390].v, 140 + 20);
}

TEST(EqCurve, ResonantCutIsDrawnAsANotchWithAFloorAtTheCentre) {
    CZkmorvaEqCurve curve(kCurveRect, 20.f, 40000.f, kLine, kFill);
    curve.setCurve(24, 1.f);
    const int column = 200;
    const double f = curve.columnFrequency(column) * 1.015; // within 2 % of the column
    curve.setCurve(0, 0.25f);                               // Q 2.1: resonant range
    curve.setCurve(1, zk10::ConvertToVSTValue(static_cast<float>(f), zk::kZ10HpFreq));
    const double floorPixels = 15.0 * curve.pixelsPerDecade(); // log10(1e-15)
    EXPECT_NEAR(curve.getSolidCurve()[column].v, 140 + floorPixels, 1.0);
    EXPECT_GT(curve.getSolidCurve()[column].v, kCurveRect.bottom + 1000);
    EXPECT_LT(curve.getSolidCurve()[column + 40].v, 140 + 60); // a notch, not a cut
}

TEST(EqCurve, OrderOfInputsDoesNotMatter) {
    const std::vector<std::pair<long, float>> settings{
        {0, 0.7f},  {1, 0.3f},  {3, 0.4f},  {4, 0.6f},  {5, 0.8f},  {7, 0.5f},
        {8, 0.2f},  {9, 0.1f},  {11, 0.9f}, {12, 0.5f}, {13, 0.6f}, {16, 0.4f},
        {17, 0.3f}, {19, 0.0f}, {20, 0.7f}, {21, 0.9f}, {23, 0.6f}, {24, 0.8f},
        {26, 0.3f}, {27, 0.9f}, {29, 0.6f}, {30, 0.1f}, {10, 0.f},  {31, 0.f}};
    CZkmorvaEqCurve forward(kCurveRect, 20.f, 40000.f, kLine, kFill);
    CZkmorvaEqCurve backward(kCurveRect, 20.f, 40000.f, kLine, kFill);
    for (const auto& [index, value] : settings) {
        forward.setCurve(index, value);
    }
    for (auto it = settings.rbegin(); it != settings.rend(); ++it) {
        backward.setCurve(it->first, 1.f - it->second); // detour first
    }
    for (auto it = settings.rbegin(); it != settings.rend(); ++it) {
        backward.setCurve(it->first, it->second);
    }
    backward.setCurve(40, 0.f); // no setting: recompute only
    EXPECT_EQ(forward.getSolidCurve(), backward.getSolidCurve());
    EXPECT_EQ(forward.getDashedCurve(), backward.getDashedCurve());
}

TEST(EqCurve, HighlightFollowsTheFirstInputAfterSwitchingOn) {
    CZkmorvaEqCurve curve(kCurveRect, 20.f, 40000.f, kLine, kFill);
    curve.setCurve(1, 0.f);
    curve.setCurve(24, 1.f);
    curve.setCurve(4, 0.f);   // LF at 20 Hz
    curve.setCurve(13, 0.9f); // band 3 (MF) gain +7.2 dB, not highlighted yet
    curve.setCurve(32, 1.f);
    EXPECT_EQ(curve.getHighlightedInput(), CZkmorvaEqCurve::kNoHighlight);
    curve.setCurve(12, 0.5f); // MF frequency: highlight MF
    curve.setCurve(5, 0.1f);  // LF gain: later inputs do not move it
    EXPECT_EQ(curve.getHighlightedInput(), 12);
    const std::size_t column = 200; // about 632 Hz: MF sits at 721 Hz
    EXPECT_LT(curve.getHighlightArea()[column].v, 140 - 40);
    EXPECT_GT(curve.getSolidCurve()[0].v, 140 + 40);    // LF cut at 20 Hz ...
    EXPECT_NEAR(curve.getHighlightArea()[0].v, 140, 1); // ... is not part of it
    curve.setCurve(32, 0.f);
    EXPECT_FALSE(curve.isHighlightEnabled());
    EXPECT_EQ(curve.getHighlightArea()[column].v, 140);
}

TEST(EqCurve, DrawsTheCurveAndTheHighlightInTheirColours) {
    CZkmorvaEqCurve curve(kCurveRect, 20.f, 40000.f, kLine, kFill);
    curve.setCurve(1, 0.f);
    curve.setCurve(24, 1.f);
    curve.setCurve(32, 1.f);
    curve.setCurve(13, 1.f); // MF +12 dB at 721 Hz
    COffscreenContext image(420, 280);
    curve.draw(&image);
    const std::size_t column = 200;
    const CPoint top = curve.getSolidCurve()[column];
    bool lineFound = false;
    for (int v = top.v - 1; v <= top.v + 1; ++v) {
        const CColor c = image.getPixel(top.h, v);
        lineFound = lineFound || (c.red > 200 && c.green < 80 && c.blue < 80);
    }
    EXPECT_TRUE(lineFound);
    EXPECT_EQ(image.getPixel(top.h, (top.v + 140) / 2), kFill); // between curve and centre
    EXPECT_EQ(image.getPixel(top.h, 200), kBlackCColor);        // below the centre line
    EXPECT_FALSE(curve.isDirty());
}

} // namespace
