// The fused passes against the plain loops they replace, on random sections,
// histories, signals and block lengths: samples and histories equal bit for bit.
#include "dsp/CascadeKernels.h"
#include "FastPathRig.h"
#include "dsp/AiFilter.h"
#include "dsp/HpLpFilter.h"
#include "dsp/MidSideStage.h"
#include "dsp/Shifter.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <utility>
#include <vector>

namespace {

using namespace zktest;

constexpr double kRates[] = {88200.0, 96000.0};

std::vector<CBiquad> RandomSections(Rng& rng, int n, double fs) {
    std::vector<CBiquad> s;
    for (int i = 0; i < n; ++i) {
        s.emplace_back(fs, RandomParameters(rng, fs));
        RandomHistory(rng, s.back());
    }
    return s;
}

TEST(CascadeKernels, MonoPassEqualsSectionAfterSection) {
    Rng rng(11);
    for (int trial = 0; trial < 300; ++trial) {
        const double fs = kRates[Pick(rng, 2)];
        std::vector<CBiquad> plain = RandomSections(rng, 1 + Pick(rng, 40), fs);
        // The baseline pass and the two-channel pass with one lane idle, each on
        // its own copy.
        std::vector<CBiquad> fused = plain, wide = plain;
        std::vector<CBiquad*> pointers, widePointers;
        for (std::size_t k = 0; k < fused.size(); ++k) {
            pointers.push_back(&fused[k]);
            widePointers.push_back(&wide[k]);
        }
        // Several blocks in a row, so that histories carry across block ends.
        for (int block = 0; block < 3; ++block) {
            const long n = RandomBlock(rng);
            std::vector<double> a = RandomSignal(rng, n), b = a, d = a;
            for (CBiquad& s : plain) {
                s.FilterBuffer(a.data(), n);
            }
            const int count = static_cast<int>(pointers.size());
            zk::kernels::FilterCascadeBaseline(pointers.data(), count, b.data(), n);
            zk::kernels::FilterCascadeOnStereoPass(widePointers.data(), count, d.data(), n);
            ASSERT_TRUE(SameBits(a, b)) << "trial " << trial << " block " << block;
            ASSERT_TRUE(SameBits(a, d))
                << "two-channel pass, trial " << trial << " block " << block;
        }
        for (std::size_t k = 0; k < plain.size(); ++k) {
            ASSERT_TRUE(SameBits(History(plain[k]), History(fused[k])))
                << "trial " << trial << " section " << k;
            ASSERT_TRUE(SameBits(History(plain[k]), History(wide[k])))
                << "two-channel pass, trial " << trial << " section " << k;
        }
    }
}

using StereoPass = void (*)(const zk::StereoStage*, int, const zk::MidSideTail*, double*, double*,
                            long, zk::CascadePlan*);

void Baseline(const zk::StereoStage* stages, int count, const zk::MidSideTail* tail, double* l,
              double* r, long n, zk::CascadePlan*) {
    zk::kernels::FilterCascadeStereoBaseline(stages, count, tail, l, r, n);
}

// Each two-channel kernel this machine runs, by name.
template <class Check> void ForEachStereoPass(Check check) {
    check(Baseline, "baseline");
    if (zk::kernels::HaveAvx()) {
        check(zk::kernels::FilterCascadeStereoAvx, "AVX");
    }
    if (zk::kernels::HaveAvx512()) {
        check(zk::kernels::FilterCascadeStereoAvx512, "AVX-512");
    } else {
        std::printf("no AVX-512 here: its two-channel pass not checked\n");
    }
}

// Both channels' sections left with the same histories.
::testing::AssertionResult SameHistories(const std::vector<CBiquad> (&plain)[2],
                                         const std::vector<CBiquad> (&fused)[2]) {
    for (int ch = 0; ch < 2; ++ch) {
        for (std::size_t k = 0; k < plain[ch].size(); ++k) {
            if (!SameBits(History(plain[ch][k]), History(fused[ch][k]))) {
                return ::testing::AssertionFailure()
                       << "channel " << ch + 1 << " section " << k << " history differs";
            }
        }
    }
    return ::testing::AssertionSuccess();
}

void ExpectStereoPassEqualsEachChannelAlone(StereoPass pass, const char* which) {
    Rng rng(12);
    for (int trial = 0; trial < 300; ++trial) {
        const double fs = kRates[Pick(rng, 2)];
        const int n = 1 + Pick(rng, 26);
        std::vector<CBiquad> plain[2] = {RandomSections(rng, n, fs), RandomSections(rng, n, fs)};
        std::vector<CBiquad> fused[2] = {plain[0], plain[1]};
        // Some stages run on one channel only, or on neither.
        std::vector<zk::StereoStage> stages;
        std::vector<bool> present[2];
        for (int k = 0; k < n; ++k) {
            const int which = Pick(rng, 5); // 0: channel 1 only, 1: channel 2 only, 2: none
            const bool on1 = which != 1 && which != 2, on2 = which != 0 && which != 2;
            present[0].push_back(on1);
            present[1].push_back(on2);
            stages.push_back({on1 ? &fused[0][static_cast<std::size_t>(k)] : nullptr,
                              on2 ? &fused[1][static_cast<std::size_t>(k)] : nullptr});
        }
        for (int block = 0; block < 3; ++block) {
            const long len = RandomBlock(rng);
            std::vector<double> a[2] = {RandomSignal(rng, len), RandomSignal(rng, len)};
            std::vector<double> b[2] = {a[0], a[1]};
            for (int ch = 0; ch < 2; ++ch) {
                for (int k = 0; k < n; ++k) {
                    if (present[ch][static_cast<std::size_t>(k)]) {
                        plain[ch][static_cast<std::size_t>(k)].FilterBuffer(a[ch].data(), len);
                    }
                }
            }
            pass(stages.data(), n, nullptr, b[0].data(), b[1].data(), len, nullptr);
            ASSERT_TRUE(SameBits(a[0], b[0])) << which << ", channel 1, trial " << trial;
            ASSERT_TRUE(SameBits(a[1], b[1])) << which << ", channel 2, trial " << trial;
        }
        ASSERT_TRUE(SameHistories(plain, fused)) << which << ", trial " << trial;
    }
}

TEST(CascadeKernels, StereoPassEqualsEachChannelAlone) {
    ForEachStereoPass(ExpectStereoPassEqualsEachChannelAlone);
}

// A lane is not confused with its neighbour: a signal on one channel only leaves
// the other channel's samples and histories exactly as they were.
TEST(CascadeKernels, StereoPassKeepsChannelsApart) {
    Rng rng(13);
    std::vector<CBiquad> left = RandomSections(rng, 6, 96000.0);
    std::vector<CBiquad> right = left;
    for (CBiquad& b : right) {
        b.InitBuffers();
    }
    std::vector<zk::StereoStage> stages;
    for (std::size_t k = 0; k < left.size(); ++k) {
        stages.push_back({&left[k], &right[k]});
    }
    std::vector<double> l = RandomSignal(rng, 300), r(300, 0.0);
    zk::FilterCascadeStereo(stages.data(), static_cast<int>(stages.size()), l.data(), r.data(),
                            300);
    for (double x : r) {
        ASSERT_EQ(Bits(x), Bits(0.0));
    }
    for (const CBiquad& b : right) {
        ASSERT_TRUE(SameBits(History(b), std::vector<double>(4, 0.0)));
    }
}

template <class Filter> void ExpectFusedEqualsPlain(Filter fused, Rng& rng, const char* what) {
    Filter plain = fused;
    for (int block = 0; block < 4; ++block) {
        const long n = RandomBlock(rng);
        std::vector<double> a = RandomSignal(rng, n), b = a;
        plain.FilterBufferReference(a.data(), n);
        fused.FilterBuffer(b.data(), n);
        ASSERT_TRUE(SameBits(a, b)) << what << ", block " << block;
    }
    std::vector<double> ha(Filter::kStateSize), hb(Filter::kStateSize);
    plain.GetBuffers(ha.data());
    fused.GetBuffers(hb.data());
    EXPECT_TRUE(SameBits(ha, hb)) << what;
}

TEST(CascadeKernels, CompositeFiltersEqualTheirPlainLoops) {
    Rng rng(14);
    for (double fs : {88200.0, 96000.0, 192000.0}) {
        ExpectFusedEqualsPlain(CZkmorvaAiFilter(fs), rng, "band limit");
        for (int mode : {0, 1}) {
            for (double slope : {5.0, 106.0, 112.0, 118.0, 124.0, 130.0}) {
                CZkmorvaHpLpFilter f(fs, mode);
                f.Update(Uniform(rng, 20.0, 20000.0), CZkmorvaHpLpFilter::kFrequency);
                f.Update(slope, CZkmorvaHpLpFilter::kSlope);
                ExpectFusedEqualsPlain(f, rng, mode == 0 ? "high-pass" : "low-pass");
            }
            CZkmorvaShifter s(fs, mode);
            s.Update(mode == 0 ? 89.0 : 12600.0, CZkmorvaShifter::kFrequency);
            s.Update(Uniform(rng, 0.25, 4.0), CZkmorvaShifter::kGain);
            ExpectFusedEqualsPlain(s, rng, mode == 0 ? "bass shifter" : "presence shifter");
        }
    }
}

// The mid/side stage's rule written out per sample, in place: to mid and side,
// each through its section (or unchanged where the section does not run), the
// side scaled, back to left and right.
void MidSideRule(std::vector<double>& l, std::vector<double>& r, CBiquad& mid, bool midRuns,
                 CBiquad& side, bool sideRuns, bool width, double factor) {
    for (std::size_t k = 0; k < l.size(); ++k) {
        double m = (l[k] + r[k]) / zk::kMidSideDivisor;
        double s = (l[k] - r[k]) / zk::kMidSideDivisor;
        m = midRuns ? mid.FilterSample(m) : m;
        s = sideRuns ? side.FilterSample(s) : s;
        s = width ? s * factor : s;
        l[k] = (m + s) / zk::kMidSideDivisor;
        r[k] = (m - s) / zk::kMidSideDivisor;
    }
}

// The mid/side stage against its rule written out per sample: to mid and side,
// each through its section (or unchanged where the section is flat), the side
// scaled, back to left and right. Every combination of running sections and
// width, so that the lane that passes through is checked too.
TEST(CascadeKernels, MidSideStageEqualsItsPerSampleRule) {
    Rng rng(15);
    for (int trial = 0; trial < 48; ++trial) {
        const bool midRuns = trial % 2 == 0, sideRuns = trial / 2 % 2 == 0;
        const bool width = trial / 4 % 2 == 0;
        const double factor = Uniform(rng, 0.0, 2.0);
        CBiquad mid(96000.0), side(96000.0);
        if (midRuns) {
            mid.Update(filterParameters{LowShelf, 1.06, Uniform(rng, 20.0, 300.0), 1.0});
            RandomHistory(rng, mid);
        }
        if (sideRuns) {
            side.Update(filterParameters{HighPass2, 0.0, Uniform(rng, 20.0, 300.0), 1.4});
            RandomHistory(rng, side);
        }
        CBiquad plainMid = mid, plainSide = side;
        const long n = RandomBlock(rng);
        std::vector<double> l = RandomSignal(rng, n), r = RandomSignal(rng, n);
        std::vector<double> expectL = l, expectR = r;
        MidSideRule(expectL, expectR, plainMid, midRuns, plainSide, sideRuns, width, factor);
        zk::RunMidSideStage(l.data(), r.data(), n, &mid, &side, width, factor);
        ASSERT_TRUE(SameBits(expectL, l)) << "left, trial " << trial;
        ASSERT_TRUE(SameBits(expectR, r)) << "right, trial " << trial;
        EXPECT_TRUE(SameBits(History(plainMid), History(mid))) << "mid history, trial " << trial;
        EXPECT_TRUE(SameBits(History(plainSide), History(side))) << "side history, trial " << trial;
    }
}

// The chain with the mid/side stage at its end (inside the last pass where a
// mono-maker section runs) against each channel's sections one after another
// and then the stage's per-sample rule: every combination of running mono-maker
// sections and width, chains from none to 26 stages (so the stage lands in every
// register and slot, alone in a pass or after a full one), blocks of every
// length in a row.
void ExpectMidSideTailEqualsChainThenRule(StereoPass pass, const char* which) {
    Rng rng(16);
    for (int trial = 0; trial < 240; ++trial) {
        const double fs = kRates[Pick(rng, 2)];
        const int n = trial % 27;
        const int runs = trial % 4; // both, side only, mid only, neither (matrix and width alone)
        const bool midRuns = runs == 0 || runs == 2, sideRuns = runs == 0 || runs == 1;
        const bool width = Pick(rng, 2) == 0;
        const double factor = Uniform(rng, 0.0, 2.0);
        std::vector<CBiquad> plain[2] = {RandomSections(rng, n, fs), RandomSections(rng, n, fs)};
        std::vector<CBiquad> fused[2] = {plain[0], plain[1]};
        std::vector<zk::StereoStage> stages;
        for (std::size_t k = 0; k < static_cast<std::size_t>(n); ++k) {
            stages.push_back({&fused[0][k], &fused[1][k]});
        }
        CBiquad mid(fs), side(fs);
        if (midRuns) {
            mid.Update(filterParameters{LowShelf, 1.06, Uniform(rng, 20.0, 300.0), 1.0});
            RandomHistory(rng, mid);
        }
        if (sideRuns) {
            side.Update(filterParameters{HighPass2, 0.0, Uniform(rng, 20.0, 300.0), 1.4});
            RandomHistory(rng, side);
        }
        CBiquad plainMid = mid, plainSide = side;
        const zk::MidSideTail tail{&mid, &side, width, factor};
        for (int block = 0; block < 3; ++block) {
            const long len = RandomBlock(rng);
            std::vector<double> a[2] = {RandomSignal(rng, len), RandomSignal(rng, len)};
            std::vector<double> b[2] = {a[0], a[1]};
            for (int ch = 0; ch < 2; ++ch) {
                for (CBiquad& section : plain[ch]) {
                    section.FilterBuffer(a[ch].data(), len);
                }
            }
            MidSideRule(a[0], a[1], plainMid, midRuns, plainSide, sideRuns, width, factor);
            pass(stages.data(), n, &tail, b[0].data(), b[1].data(), len, nullptr);
            ASSERT_TRUE(SameBits(a[0], b[0])) << which << ", left, trial " << trial << " (" << n
                                              << " stages), block " << block << " of " << len;
            ASSERT_TRUE(SameBits(a[1], b[1])) << which << ", right, trial " << trial << " (" << n
                                              << " stages), block " << block << " of " << len;
        }
        EXPECT_TRUE(SameBits(History(plainMid), History(mid))) << which << ", mid, trial " << trial;
        EXPECT_TRUE(SameBits(History(plainSide), History(side)))
            << which << ", side, trial " << trial;
        ASSERT_TRUE(SameHistories(plain, fused)) << which << ", trial " << trial;
    }
}

TEST(CascadeKernels, MidSideTailEqualsChainThenStage) {
    ForEachStereoPass(ExpectMidSideTailEqualsChainThenRule);
}

// One plan kept from block to block while the chain changes between blocks as a
// unit's dispatch changes it: new coefficients (reloaded into their lanes),
// sections that stop or start running, other stages, the mid/side stage taken
// away and back; each block against each channel's sections one after another
// and the stage's rule.
void ExpectKeptPlanFollowsTheChain(const std::vector<StereoPass>& passes, const char* which) {
    Rng rng(17);
    for (int trial = 0; trial < 40; ++trial) {
        const double fs = kRates[Pick(rng, 2)];
        const int n = 1 + Pick(rng, 26);
        std::vector<CBiquad> plain[2] = {RandomSections(rng, n, fs), RandomSections(rng, n, fs)};
        std::vector<CBiquad> fused[2] = {plain[0], plain[1]};
        CBiquad mid(fs), side(fs);
        mid.Update(filterParameters{LowShelf, 1.06, 120.0, 1.0});
        side.Update(filterParameters{HighPass2, 0.0, 120.0, 1.4});
        CBiquad plainMid = mid, plainSide = side;
        zk::CascadePlan plan;
        for (int block = 0; block < 16; ++block) {
            CBiquad* sections[2] = {&fused[0][static_cast<std::size_t>(Pick(rng, n))],
                                    &fused[1][static_cast<std::size_t>(Pick(rng, n))]};
            switch (Pick(rng, 4)) {
            case 0: // new coefficients, still running (or still not)
                for (CBiquad* b : sections) {
                    filterParameters p = b->GetParameters();
                    p.frequency = p.frequency * Uniform(rng, 0.8, 1.2);
                    b->Update(p);
                }
                break;
            case 1: // a section stops or starts running
                sections[0]->Update(sections[0]->IsIdentity()
                                        ? RandomParameters(rng, fs)
                                        : filterParameters{Peak, 1.0, 1.0e3, 1.0});
                break;
            case 2: // the mono maker's sections stop or start
                mid.Update(filterParameters{LowShelf, mid.IsIdentity() ? 1.06 : 1.0, 120.0, 1.0});
                break;
            default:
                break;
            }
            for (int ch = 0; ch < 2; ++ch) {
                for (std::size_t k = 0; k < plain[ch].size(); ++k) {
                    const std::vector<double> h = History(plain[ch][k]);
                    plain[ch][k] = fused[ch][k];
                    plain[ch][k].StoreBuffers(h.data());
                }
            }
            for (auto [a, b] : {std::pair{&plainMid, &mid}, std::pair{&plainSide, &side}}) {
                const std::vector<double> h = History(*a);
                *a = *b;
                a->StoreBuffers(h.data());
            }
            // Now and then a shorter chain, or none of the mid/side stage.
            const int used = block % 4 == 3 ? n / 2 : n;
            const bool withTail = block % 5 != 4;
            std::vector<zk::StereoStage> stages;
            for (std::size_t k = 0; k < static_cast<std::size_t>(used); ++k) {
                stages.push_back({&fused[0][k], &fused[1][k]});
            }
            const zk::MidSideTail tail{&mid, &side, true, 0.7};
            const long len = RandomBlock(rng);
            std::vector<double> a[2] = {RandomSignal(rng, len), RandomSignal(rng, len)};
            std::vector<double> b[2] = {a[0], a[1]};
            for (int ch = 0; ch < 2; ++ch) {
                for (int k = 0; k < used; ++k) {
                    plain[ch][static_cast<std::size_t>(k)].FilterBuffer(a[ch].data(), len);
                }
            }
            if (withTail) {
                MidSideRule(a[0], a[1], plainMid, !plainMid.IsIdentity(), plainSide, true, true,
                            0.7);
            }
            const StereoPass pass = passes[static_cast<std::size_t>(block) % passes.size()];
            pass(stages.data(), used, withTail ? &tail : nullptr, b[0].data(), b[1].data(), len,
                 &plan);
            ASSERT_TRUE(SameBits(a[0], b[0]))
                << which << ", left, trial " << trial << " block " << block << " of " << len;
            ASSERT_TRUE(SameBits(a[1], b[1]))
                << which << ", right, trial " << trial << " block " << block << " of " << len;
            ASSERT_TRUE(SameHistories(plain, fused)) << which << ", trial " << trial;
            ASSERT_TRUE(SameBits(History(plainMid), History(mid))) << which << ", trial " << trial;
        }
    }
}

TEST(CascadeKernels, KeptPlanFollowsTheChain) {
    std::vector<StereoPass> all;
    ForEachStereoPass([&all](StereoPass pass, const char* which) {
        ExpectKeptPlanFollowsTheChain({pass}, which);
        all.push_back(pass);
    });
    // One plan handed from kernel to kernel block after block.
    ExpectKeptPlanFollowsTheChain(all, "kernels in turn");
}

} // namespace
