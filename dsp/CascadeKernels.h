#pragma once

#include "Biquad.h"

#include <cstddef>
#include <cstdint>

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

struct CascadePlan;

// Runs sections[0..sectionCount) in order over buffer[0..count); with a plan (see
// CascadePlan below), the wide passes keep their set-up there.
void FilterCascade(CBiquad* const* sections, int sectionCount, double* buffer, long count,
                   CascadePlan* plan = nullptr);

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

// What the wide two-channel passes set up before their first sample, kept by the
// caller from one block to the next: which stages run, how they are grouped into
// passes, their coefficients as the registers hold them and where each lane's
// history lives. At a short block that set-up cost as much as the filtering. A
// block with the same stages whose sections have not changed since (their
// CBiquad::Generation) starts at once; a section with new coefficients has them
// reloaded into its own lanes; anything else (other stages, a section that stops
// or starts running, another kernel) sets the passes up afresh. The histories stay
// in the sections. Written and read by the kernels only.
struct CascadePlan {
    // A chain of 32 stages and the mid/side stage.
    static constexpr int kMaxStages = 33;
    static constexpr int kMaxPasses = 9;
    static constexpr std::size_t kRegisterBytes = 4096;

    struct Pass {
        std::int8_t firstRegister, registers, sections;
        bool oneChannel; // some stage runs on one channel only
    };

    int kernel = 0; // the kernel that set it up; 0: none
    int stageCount = 0;
    bool withTail = false;
    bool midSideInPass = false;
    int passCount = 0;
    // The stages as given (the tail's sections last), the generation of each
    // section, and its lane (register * 16 + lane; -1 where it does not run).
    StereoStage stages[kMaxStages];
    std::uint64_t generations[kMaxStages][2];
    std::int16_t lanes[kMaxStages][2];
    Pass passes[kMaxPasses];
    // The kernel's registers: coefficients and lane histories' addresses.
    alignas(64) unsigned char registers[kRegisterBytes];
};

// The chain, then (tail not null) the mid/side stage: equal to FilterCascadeStereo
// followed by RunMidSideStage. On wide registers the mid and side sections run
// as one more stage of the chain's last pass (its input turned to mid/side, its
// output back to left/right), where their feedback overlaps the other sections'
// instead of setting the pace of a loop of its own. With a plan, the set-up is
// kept there for the next call.
void FilterCascadeStereo(const StereoStage* stages, int stageCount, const MidSideTail* tail,
                         double* left, double* right, long count, CascadePlan* plan = nullptr);

// The implementations the entries above choose between, callable one by one
// so that tests check each: the SSE2 baseline, the AVX one (256-bit registers
// holding two staggered sections of both channels) and the AVX-512 one (four
// staggered sections per register). Where the processor lacks the
// instructions they are the baseline.
namespace kernels {
bool HaveAvx();
bool HaveAvx512();
// The mono chain on the widest two-channel pass the processor runs, its second
// lane idle: the staggered sections keep several feedback loops in flight where
// the mono pass waits on one.
// Without AVX it is the baseline.
void FilterCascadeOnStereoPass(CBiquad* const* sections, int sectionCount, double* buffer,
                               long count, CascadePlan* plan = nullptr);
void FilterCascadeBaseline(CBiquad* const* sections, int sectionCount, double* buffer, long count);
void FilterCascadeStereoBaseline(const StereoStage* stages, int stageCount, const MidSideTail* tail,
                                 double* left, double* right, long count);
void FilterCascadeStereoAvx(const StereoStage* stages, int stageCount, const MidSideTail* tail,
                            double* left, double* right, long count, CascadePlan* plan = nullptr);
void FilterCascadeStereoAvx512(const StereoStage* stages, int stageCount, const MidSideTail* tail,
                               double* left, double* right, long count,
                               CascadePlan* plan = nullptr);
} // namespace kernels

} // namespace zk
