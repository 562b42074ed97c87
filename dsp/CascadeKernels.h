#pragma once

#include "Biquad.h"

// Fused runs of a chain of sections. Filtering a buffer section after section
// leaves the processor waiting on each sample's feedback (a multiply and two
// subtractions) before the next can start; running several sections in one pass
// gives it independent feedback loops to overlap, and two channels share one
// SSE2 register (one lane each).
//
// Every lane performs exactly the operations of CBiquad::FilterBuffer in the same
// order on the same values, so the results and the final histories are
// identical to the per-section loops bit for bit. Identity sections (gain 1.0 or
// below 0.0) are skipped as FilterBuffer skips them: samples untouched, history
// frozen.
namespace zk {

// Runs sections[0..sectionCount) in order over buffer[0..count).
void FilterCascade(CBiquad* const* sections, int sectionCount, double* buffer, long count);

// One stage of a two-channel chain: the section each channel runs at this point,
// or null where that channel has nothing to run (its samples pass unchanged).
struct StereoStage {
    CBiquad* channel[2];
};

// Runs stages[0..stageCount) in order, channel 1 over left and channel 2 over
// right. Equal to running each channel's sections one after another.
void FilterCascadeStereo(const StereoStage* stages, int stageCount, double* left, double* right,
                         long count);

// The two-channel processor's mid/side stage (RunMidSideStage's arguments) at
// the end of a chain.
struct MidSideTail {
    CBiquad* mid; // both null or both present
    CBiquad* side;
    bool width;
    double widthFactor;
};

// The chain, then (tail not null) the mid/side stage: equal to FilterCascadeStereo
// followed by RunMidSideStage. On wide registers the mid and side sections run
// as one more stage of the chain's last pass (its input turned to mid/side, its
// output back to left/right), where their feedback overlaps the other sections'
// instead of setting the pace of a loop of its own.
void FilterCascadeStereo(const StereoStage* stages, int stageCount, const MidSideTail* tail,
                         double* left, double* right, long count);

// The implementations the entries above choose between, callable one by one
// so that tests check each: the SSE2 baseline, the AVX ones (mono: the AVX
// encoding of the same operations; two channels: 256-bit registers holding two
// staggered sections of both channels) and the AVX-512 one (two channels, four
// staggered sections per register). Where the processor lacks the instructions
// they are the baseline.
namespace kernels {
bool HaveAvx();
bool HaveAvx512();
// The mono chain on the widest two-channel pass the processor runs, its second
// lane idle: the staggered sections keep several feedback loops in flight where
// the mono pass waits on one (measured 2 to 2.5 times faster with AVX-512).
// Without AVX it is the baseline.
void FilterCascadeOnStereoPass(CBiquad* const* sections, int sectionCount, double* buffer,
                               long count);
void FilterCascadeBaseline(CBiquad* const* sections, int sectionCount, double* buffer, long count);
void FilterCascadeAvx(CBiquad* const* sections, int sectionCount, double* buffer, long count);
void FilterCascadeStereoBaseline(const StereoStage* stages, int stageCount, const MidSideTail* tail,
                                 double* left, double* right, long count);
void FilterCascadeStereoAvx(const StereoStage* stages, int stageCount, const MidSideTail* tail,
                            double* left, double* right, long count);
void FilterCascadeStereoAvx512(const StereoStage* stages, int stageCount, const MidSideTail* tail,
                               double* left, double* right, long count);
} // namespace kernels

} // namespace zk
