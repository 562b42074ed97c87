#include "editor/ValueMapping.h"
#include "units/Zkmorva10Parameters.h"
#include "units/Zkmorva20Parameters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using zkeditor::MappingKind;

// Every law against the ends of each unit's own parameter table: the minimum
// must sit at 0 and the maximum at 1, so a parameter filed under the wrong kind
// (on either channel of the two-channel EQ) shows up here.
template <class Convert, class Meter>
void CheckRangesSpanTheControl(std::span<const zk::ParameterDef> table, Convert toControl,
                               Meter isMeter) {
    for (const zk::ParameterDef& p : table) {
        if (isMeter(p)) {
            continue;
        }
        const long id = static_cast<long>(p.id);
        SCOPED_TRACE(p.name);
        EXPECT_NEAR(toControl(p.minValue, id), 0.0, 1e-6);
        EXPECT_NEAR(toControl(p.maxValue, id), 1.0, 1e-6);
        const float d = toControl(p.defaultValue, id);
        EXPECT_GE(d, 0.f);
        EXPECT_LE(d, 1.f);
    }
}

TEST(ValueMapping, BothUnitsRangesSpanTheWholeControl) {
    CheckRangesSpanTheControl(zk::kZkmorva10Parameters, zk10::ConvertToVSTValue, zk::IsMeter);
    // The two-channel EQ's meters, balance to output R, carry no meter flag.
    CheckRangesSpanTheControl(
        zk::kZkmorva20Parameters, zk20::ConvertToVSTValue,
        [](const zk::ParameterDef& p) { return p.id >= zk::kZ20BalanceMeter && p.id <= 107; });
    for (long id = 18; id <= 58; ++id) {
        EXPECT_EQ(zk20::KindOf(id), zk20::KindOf(id + 41)) << id;
    }
    for (long id : {-1L, 0L, 2L, 98L, 100L, 108L, 109L, 5000L}) {
        EXPECT_EQ(zk20::KindOf(id), MappingKind::Identity) << id;
    }
    for (long id : {-3L, 0L, 37L, 38L, 40L, 41L}) {
        EXPECT_EQ(zk10::KindOf(id), MappingKind::Identity) << id;
    }
}

struct ContinuousKind {
    MappingKind kind;
    double low, high; // parameter range covered by 0..1
};

// x -> value -> x over the whole control, and the value at the centre.
TEST(ValueMapping, ContinuousKindsRoundTripOverTheWholeRange) {
    const std::vector<ContinuousKind> kinds{
        {MappingKind::Freq20_26000, 20, 26000}, {MappingKind::ShelvingQ, 0.28, 15},
        {MappingKind::Freq20_1000, 20, 1000},   {MappingKind::Gain12, -12, 12},
        {MappingKind::Q0_3_15, 0.3, 15},        {MappingKind::Freq400_26000, 400, 26000},
        {MappingKind::BassShift, 40, 200},      {MappingKind::PresenceShift, 8000, 20000},
        {MappingKind::StereoWidth, 0, 400},
    };
    for (const ContinuousKind& k : kinds) {
        SCOPED_TRACE(static_cast<int>(k.kind));
        for (int i = 0; i <= 1000; ++i) {
            const float x = static_cast<float>(i) / 1000.f;
            const float v = zkeditor::FromNormalised(k.kind, x);
            const double slack = 1e-6 * (k.high - k.low);
            EXPECT_GE(v, k.low - slack);
            EXPECT_LE(v, k.high + slack);
            EXPECT_NEAR(zkeditor::ToNormalised(k.kind, v), x, 2e-6);
        }
    }
    // Independent centre values: geometric means for the logarithmic laws.
    EXPECT_NEAR(zkeditor::FromNormalised(MappingKind::Freq20_26000, 0.5f),
                std::sqrt(20.0 * 26000.0), 0.01);
    EXPECT_NEAR(zkeditor::FromNormalised(MappingKind::Q0_3_15, 0.5f), std::sqrt(0.3 * 15), 1e-5);
    EXPECT_NEAR(zkeditor::FromNormalised(MappingKind::Freq400_26000, 0.25f),
                400.0 * std::pow(65.0, 0.25), 0.01);
    EXPECT_FLOAT_EQ(zkeditor::FromNormalised(MappingKind::StereoWidth, 0.5f), 100.f);
    EXPECT_FLOAT_EQ(zkeditor::FromNormalised(MappingKind::StereoWidth, 0.75f), 200.f);
    EXPECT_FLOAT_EQ(zkeditor::FromNormalised(MappingKind::StereoWidth, 0.875f), 300.f);
    EXPECT_FLOAT_EQ(zkeditor::ToNormalised(MappingKind::StereoWidth, 150.f), 0.625f);
}

TEST(ValueMapping, ShifterDefaultsSitAtTheCentreOneWayOnly) {
    EXPECT_EQ(zk10::ConvertToVSTValue(89.f, 32), 0.5f);
    EXPECT_NEAR(zk10::ConvertToAUValue(0.5f, 32), 40.0 * std::sqrt(5.0), 1e-3); // 89.44
    EXPECT_EQ(zk10::ConvertToVSTValue(12600.f, 35), 0.5f);
    EXPECT_NEAR(zk10::ConvertToAUValue(0.5f, 35), 8000.0 * std::sqrt(2.5), 0.01); // 12649.1
    EXPECT_EQ(zk20::ConvertToVSTValue(89.f, 92), 0.5f);
    EXPECT_EQ(zk20::ConvertToVSTValue(12600.f, 55), 0.5f);
    // Next to the default the logarithmic law holds.
    EXPECT_NEAR(zk10::ConvertToVSTValue(89.5f, 32), std::log(89.5 / 40) / std::log(5.0), 1e-6);
}

TEST(ValueMapping, LevelGainEndsAndCurve) {
    EXPECT_EQ(zk10::ConvertToVSTValue(-100.f, 3), 0.f);
    EXPECT_EQ(zk10::ConvertToVSTValue(-150.f, 4), 0.f);
    EXPECT_EQ(zk10::ConvertToAUValue(0.f, 3), -100.f);
    EXPECT_EQ(zk10::ConvertToAUValue(0.00001f, 3), -100.f);
    EXPECT_EQ(zk10::ConvertToVSTValue(12.f, 3), 1.f); // the curve alone gives 0.9976
    EXPECT_NEAR(zk10::ConvertToVSTValue(11.99f, 3), 0.9976, 1e-3);
    EXPECT_NEAR(zk10::ConvertToVSTValue(0.f, 3), 0.5, 1e-7);
    EXPECT_NEAR(zk10::ConvertToAUValue(0.5f, 3), 0.0, 1e-5);
    EXPECT_NEAR(zk10::ConvertToAUValue(1.f, 3), 20.0 * std::log10(4.0), 1e-5);
    for (float db = -99.f; db < 12.f; db += 0.5f) {
        EXPECT_NEAR(zk20::ConvertToAUValue(zk20::ConvertToVSTValue(db, 6), 6), db, 1e-4) << db;
    }
}

TEST(ValueMapping, SlopeControlHasAResonantHalfAndSixDetents) {
    // Lower half: Q 0.3 .. 15 logarithmic.
    EXPECT_NEAR(zk10::ConvertToVSTValue(0.3f, 6), 0.0, 1e-6);
    EXPECT_NEAR(zk10::ConvertToVSTValue(15.f, 6), 0.5, 1e-6);
    EXPECT_NEAR(zk10::ConvertToVSTValue(std::sqrt(4.5f), 29), 0.25, 1e-6);
    for (int i = 0; i <= 500; ++i) {
        const float x = static_cast<float>(i) / 1000.f;
        EXPECT_NEAR(zk10::ConvertToVSTValue(zk10::ConvertToAUValue(x, 6), 6), x, 2e-6);
    }
    // Upper half: detents there and back.
    const std::vector<std::pair<float, float>> detents{
        {16.f, 0.6f}, {18.f, 0.7f}, {20.f, 0.8f}, {22.f, 0.9f}, {24.f, 1.f}};
    for (auto [q, x] : detents) {
        EXPECT_FLOAT_EQ(zk10::ConvertToVSTValue(q, 6), x) << q;
        EXPECT_EQ(zk10::ConvertToAUValue(x, 6), q) << x;
        EXPECT_EQ(zk20::ConvertToAUValue(zk20::ConvertToVSTValue(q, 88), 88), q) << q;
    }
    EXPECT_FLOAT_EQ(zk10::ConvertToVSTValue(15.5f, 6), 0.6f);
    EXPECT_FLOAT_EQ(zk10::ConvertToVSTValue(25.f, 6), 1.f);
    // Positions between detents and the detent limits.
    EXPECT_EQ(zk10::ConvertToAUValue(0.52f, 6), 15.f);
    EXPECT_EQ(zk10::ConvertToAUValue(0.55f, 6), 16.f);
    EXPECT_EQ(zk10::ConvertToAUValue(0.6499f, 6), 16.f);
    EXPECT_EQ(zk10::ConvertToAUValue(0.65f, 6), 16.f); // 0.65f lies below the double 0.65
    EXPECT_EQ(zk10::ConvertToAUValue(0.66f, 6), 18.f);
    EXPECT_EQ(zk10::ConvertToAUValue(0.75f, 6), 20.f);
    EXPECT_EQ(zk10::ConvertToAUValue(0.95f, 6), 22.f); // as 0.65
    EXPECT_EQ(zk10::ConvertToAUValue(0.951f, 6), 24.f);
}

TEST(ValueMapping, ModeIndexRoundTripsEveryMode) {
    for (int mode = 0; mode <= 6; ++mode) {
        const float x = zk10::ConvertToVSTValue(static_cast<float>(mode), 1);
        EXPECT_FLOAT_EQ(x, static_cast<float>(mode) / 6.f);
        EXPECT_EQ(zk10::ConvertToAUValue(x, 1), static_cast<float>(mode));
        // The editors' menus send index / 6.
        EXPECT_EQ(zk20::ConvertToAUValue(static_cast<float>(mode) / 6.f, 3),
                  static_cast<float>(mode));
    }
    EXPECT_EQ(zk10::ConvertToAUValue(0.99f, 1), 5.f); // truncation, not rounding
}

TEST(ValueMapping, IdentityIdsPassValuesThrough) {
    for (float v : {-61.f, -3.5f, 0.f, 0.25f, 1.f}) {
        EXPECT_EQ(zk10::ConvertToVSTValue(v, 38), v);
        EXPECT_EQ(zk10::ConvertToAUValue(v, 40), v);
        EXPECT_EQ(zk20::ConvertToVSTValue(v, 101), v);
        EXPECT_EQ(zk20::ConvertToAUValue(v, 0), v);
    }
}

} // namespace
