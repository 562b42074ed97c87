#include "Zkmorva20Rig.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <limits>
#include <thread>

namespace {

using namespace zktest;

constexpr double kFs = 44100.0; // meters run at the internal 88200 Hz

// Plays l/r for `seconds` in blocks, calling CalcCorrelation between blocks when
// `read` is set, as an editor polling the meters would.
void Play(CZkmorva20SignalProcessing& p, const std::vector<double>& l, const std::vector<double>& r,
          bool read) {
    RunStereo(p, l, r, kMaxBlock, [&] {
        if (read) {
            p.CalcCorrelation();
        }
    });
}

std::vector<double> Tone(double seconds, double amplitude = 0.5) {
    return Sine(997.0, kFs, static_cast<long>(seconds * kFs), amplitude);
}

TEST(Zkmorva20Correlation, TendsToPlusOneMinusOneAndCentre) {
    struct Case {
        const char* name;
        double rightFactor;
        float value;   // correlation result, 0..1
        double handed; // parameter 101, -1..+1
    };
    for (const Case& c : {Case{"identical", 1.0, 1.0f, 1.0}, Case{"inverted", -1.0, 0.0f, -1.0},
                          Case{"silent", 0.0, 0.5f, 0.0}}) {
        CZkmorva20SignalProcessing p;
        Prepare(p, kFs);
        const std::vector<double> l = c.rightFactor == 0.0 ? Silence(3 * 44100) : Tone(3.0);
        Play(p, l, Scaled(l, c.rightFactor), true);
        const zk20::CZkmorva20MeterReadings m = p.ReadMeters();
        EXPECT_NEAR(m.correlationValue, c.value, 1e-4) << c.name; // float sums
        EXPECT_NEAR(m.correlationSmoothed, c.value, 0.005) << c.name;
        EXPECT_NEAR(p.GetMeterParameter(101), c.handed, 0.01) << c.name;
    }
}

TEST(Zkmorva20Correlation, ResultNeedsHalfASecondAndRestartsTheSums) {
    CZkmorva20SignalProcessing p;
    Prepare(p, kFs);
    const std::vector<double> x = Tone(0.3);

    Play(p, x, x, false); // 0.3 s: too early
    p.CalcCorrelation();
    EXPECT_EQ(p.ReadMeters().correlationValue, 0.0f);
    const float smoothed = p.ReadMeters().correlationSmoothed;
    p.CalcCorrelation();
    EXPECT_EQ(p.ReadMeters().correlationSmoothed, smoothed) << "an early read changes nothing";
    EXPECT_EQ(p.ReadMeters().correlationResults, 0u);

    Play(p, x, x, false); // 0.6 s
    p.CalcCorrelation();  // the result shows at once, without another block
    EXPECT_NEAR(p.ReadMeters().correlationValue, 1.0f, 1e-6);
    const float after = p.ReadMeters().correlationSmoothed;
    EXPECT_GT(after, smoothed);
    p.CalcCorrelation();
    EXPECT_EQ(p.ReadMeters().correlationSmoothed, after) << "one result per half second";
    EXPECT_EQ(p.ReadMeters().correlationResults, 1u);

    // The sums restarted: 0.3 s of inverted signal are not enough for a result,
    // 0.6 s are, and they see none of the earlier identical signal.
    Play(p, x, Scaled(x, -1.0), false);
    p.CalcCorrelation();
    EXPECT_NEAR(p.ReadMeters().correlationValue, 1.0f, 1e-6);
    Play(p, x, Scaled(x, -1.0), false);
    p.CalcCorrelation();
    EXPECT_NEAR(p.ReadMeters().correlationValue, 0.0f, 1e-4); // float sums
    EXPECT_EQ(p.ReadMeters().correlationResults, 2u);
    p.InitParameters();
    EXPECT_EQ(p.ReadMeters().correlationResults, 0u) << "a reset starts the count again";
}

TEST(Zkmorva20Balance, ReadsTheLevelRatio) {
    CZkmorva20SignalProcessing p;
    Prepare(p, 96000.0); // DC passes unfiltered without oversampling
    auto dc = [](double v) { return std::vector<double>(96000 * 3, v); };

    Play(p, Silence(288000), dc(0.2), false);
    EXPECT_GT(p.ReadMeters().balanceSmoothed, 0.999f) << "right only";
    Play(p, dc(0.2), Silence(288000), false);
    EXPECT_LT(p.ReadMeters().balanceSmoothed, 0.001f) << "left only";
    Play(p, dc(0.2), dc(0.2), false);
    EXPECT_NEAR(p.ReadMeters().balanceSmoothed, 0.5f, 0.001f) << "equal";
    // Half the level on the right: 0.5 (1 + (1/2 - 1) 4/3) = 1/6.
    Play(p, dc(0.2), dc(0.1), false);
    EXPECT_NEAR(p.ReadMeters().balanceSmoothed, 1.0 / 6.0, 0.001) << "right at half";
    // A quarter reaches the end of the scale.
    Play(p, dc(0.05), dc(0.2), false);
    EXPECT_NEAR(p.ReadMeters().balanceSmoothed, 1.0, 0.001) << "left at a quarter";
    Play(p, Silence(288000), Silence(288000), false);
    EXPECT_NEAR(p.ReadMeters().balanceSmoothed, 0.5f, 0.001f) << "silence";
    EXPECT_EQ(p.GetMeterParameter(100), p.ReadMeters().balanceSmoothed);
}

TEST(Zkmorva20Levels, OversShowAtOnceAndRisesFollowTheAttack) {
    constexpr double fs = 96000.0;
    const double attack = 1.0 - std::pow(10.0, (-2.2 / fs) / 0.0001); // about 0.41
    CZkmorva20SignalProcessing p;
    Prepare(p, fs);
    Play(p, {0.9}, {1.5}, false);
    zk20::CZkmorva20MeterReadings m = p.ReadMeters();
    EXPECT_EQ(m.inputLevel2, 1.5f);
    EXPECT_EQ(m.outputLevel2, 1.5f);
    EXPECT_NEAR(m.inputLevel1, attack * 0.9, 1e-5);
    EXPECT_NEAR(m.outputLevel1, attack * 0.9, 1e-5);
    EXPECT_EQ(m.outputLevelMid, 1.2f) << "(0.9 + 1.5) / 2 is over full scale too";
    EXPECT_NEAR(m.outputLevelSide, attack * 0.3, 1e-5);
    EXPECT_NEAR(p.GetMeterParameter(103), 20.0 * std::log10(1.5), 1e-5);

    // Input gain comes before the input meter.
    p.inputGain1 = 4.0;
    Play(p, {0.5}, {0.0}, false);
    EXPECT_EQ(p.ReadMeters().inputLevel1, 2.0f);
}

TEST(Zkmorva20Levels, BallisticsAt88200) {
    CZkmorva20SignalProcessing p;
    Prepare(p, kFs);
    // One frame of 0.9 is two internal samples: 0.9, then the stuffed zero.
    Play(p, {0.9}, {0.0}, false);
    const float first = p.ReadMeters().inputLevel1;
    Play(p, Silence(20000), Silence(20000), false); // 40000 internal samples
    const float later = p.ReadMeters().inputLevel1;
    const double release = 1.0 - std::pow(static_cast<double>(later) / first, 1.0 / 40000.0);
    const double attack = first / 0.9 / (1.0 - release);
    EXPECT_NEAR(attack, 0.437, 0.001);
    EXPECT_NEAR(release, 3.83e-5, 0.01e-5);
}

TEST(Zkmorva20Levels, BypassShowsIdleMeters) {
    CZkmorva20SignalProcessing p;
    Prepare(p, kFs);
    const std::vector<double> x = Tone(0.2);
    Play(p, x, Scaled(x, 0.5), false);
    ASSERT_GT(p.ReadMeters().outputLevel1, 0.1f);
    p.bypass = true;
    Play(p, x, x, false);
    const zk20::CZkmorva20MeterReadings m = p.ReadMeters();
    for (float level : {m.inputLevel1, m.inputLevel2, m.outputLevelMid, m.outputLevelSide,
                        m.outputLevel1, m.outputLevel2}) {
        EXPECT_EQ(level, 0.0f);
    }
    EXPECT_EQ(m.balanceSmoothed, 0.5f);
    EXPECT_EQ(m.correlationSmoothed, 0.5f);
    EXPECT_EQ(p.GetMeterParameter(101), 0.0);
    EXPECT_EQ(p.GetMeterParameter(102), -61.0);
}

TEST(Zkmorva20MeterHandOff, ConvertsToParameterValues) {
    EXPECT_EQ(zk20::CorrelationParameterValue(0.75f), 0.5);
    EXPECT_EQ(zk20::CorrelationParameterValue(0.0f), -1.0);
    EXPECT_EQ(zk20::CorrelationParameterValue(1.0f), 1.0);
    EXPECT_EQ(zk20::CorrelationParameterValue(1.25f), 0.0) << "outside 0..1";
    EXPECT_EQ(zk20::CorrelationParameterValue(-0.25f), 0.0) << "outside 0..1";
    EXPECT_EQ(zk20::CorrelationParameterValue(std::numeric_limits<float>::quiet_NaN()), 0.0);
    EXPECT_EQ(zk20::LevelParameterValue(0.0f), -61.0);
    EXPECT_EQ(zk20::LevelParameterValue(1.0f), 0.0);
    EXPECT_NEAR(zk20::LevelParameterValue(0.5f), -6.0206, 1e-4);
    EXPECT_NEAR(zk20::LevelParameterValue(1e-4f), -80.0, 1e-4) << "no clamp beyond the floor";

    zk20::CZkmorva20MeterReadings r;
    r.balanceSmoothed = 0.25f;
    r.correlationSmoothed = 0.25f;
    const float levels[] = {0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f};
    r.inputLevel1 = levels[0];
    r.inputLevel2 = levels[1];
    r.outputLevelMid = levels[2];
    r.outputLevelSide = levels[3];
    r.outputLevel1 = levels[4];
    r.outputLevel2 = levels[5];
    EXPECT_EQ(zk20::MeterParameterValue(100, r), 0.25);
    EXPECT_EQ(zk20::MeterParameterValue(101, r), -0.5);
    for (long id = 102; id <= 107; ++id) {
        EXPECT_NEAR(zk20::MeterParameterValue(id, r), 20.0 * std::log10(levels[id - 102]), 1e-5)
            << "id " << id;
    }
    EXPECT_EQ(zk20::MeterParameterValue(99, r), 0.0);
    EXPECT_EQ(zk20::MeterParameterValue(108, r), 0.0);
}

// A reader polls the meters and forms correlation results while a render thread
// plays identical channels. Run under the thread sanitizer this shows the
// hand-off is race-free; here it checks no result is lost or mixed up.
TEST(Zkmorva20MeterThreads, ReadsWhileRenderingStayConsistent) {
    CZkmorva20SignalProcessing p;
    Prepare(p, kFs);
    std::atomic<bool> done{false};
    std::atomic<int> badReads{0};
    std::thread reader([&] {
        while (!done.load()) {
            p.CalcCorrelation();
            const zk20::CZkmorva20MeterReadings m = p.ReadMeters();
            const double c = p.GetMeterParameter(101);
            if (m.correlationValue < 0.0f || m.correlationValue > 1.0f || c < -1.0 || c > 1.0 ||
                m.outputLevel1 < 0.0f || m.outputLevel1 > 1.0f) {
                badReads.fetch_add(1);
            }
        }
    });
    // However late the reader starts, it takes a result before the last three
    // seconds, so they run with a result of 1 applied.
    Play(p, Tone(1.0), Tone(1.0), false);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (p.ReadMeters().correlationResults == 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    Play(p, Tone(3.0), Tone(3.0), false);
    done.store(true);
    reader.join();
    EXPECT_EQ(badReads.load(), 0);
    EXPECT_GT(p.ReadMeters().correlationResults, 0u);
    // Every result formed on identical channels is 1; the latest one is visible.
    // Half a second more gives a result whose claim restarts the sums at the next
    // block, so the last result covers exactly 0.6 s whatever the reader did.
    Play(p, Tone(0.5), Tone(0.5), false);
    p.CalcCorrelation();
    Play(p, Tone(0.6), Tone(0.6), false);
    p.CalcCorrelation();
    EXPECT_NEAR(p.ReadMeters().correlationValue, 1.0f, 1e-6);
    EXPECT_GT(p.ReadMeters().correlationSmoothed, 0.9f);
}

} // namespace
