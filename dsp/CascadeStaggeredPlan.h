// How the two-channel fused pass (CascadeStaggered.h) lays a chain out on its
// registers, and how a kept plan follows the chain from one block to the next.
// Included by CascadeStaggered.h, for one instruction set at a time (see there).
#pragma once

#include "CascadeKernels.h"

#include <cstdint>
#include <cstring>
#include <new>

#ifndef ZK_KERNEL_TARGET
#error "define ZK_KERNEL_TARGET before including CascadeStaggeredPlan.h"
#endif

namespace zk {
namespace kernels {
namespace {

ZK_KERNEL_TARGET inline bool Runs(const CBiquad* b) {
    return b != nullptr && !b->IsIdentity();
}

// Coefficients of one register's sections; run marks the lanes whose section
// runs (the others pass their input through).
template <class V> struct Group {
    typename V::Reg b0, b1, b2, a1, a2;
    typename V::Mask run;
};

// The slot whose lanes include lane l.
template <class V> constexpr int SlotOfLane(int l) {
    for (int k = 0; k < V::kSections; ++k) {
        if (l == V::SlotLane(k) || l == V::SlotLane(k) + 1) {
            return k;
        }
    }
    return 0;
}

// The registers a plan keeps for lane type V: each register's coefficients and
// the addresses of its lanes' histories (null where the lane's section does not
// run), register after register.
template <class V> struct PlannedRegisters {
    static constexpr int kLanes = 2 * V::kSections;
    static constexpr int kCount = (CascadePlan::kMaxStages + V::kSections - 1) / V::kSections;
    Group<V> group[kCount];
    double* rows[kCount][kLanes];
};

template <class V> PlannedRegisters<V>& RegistersOf(CascadePlan& plan) {
    static_assert(sizeof(PlannedRegisters<V>) <= CascadePlan::kRegisterBytes &&
                  alignof(PlannedRegisters<V>) <= 64);
    return *std::launder(reinterpret_cast<PlannedRegisters<V>*>(plan.registers));
}

// Register r of a plan from V::kSections stages (null: a stage that passes
// everything through), each lane's place noted in the plan.
template <class V>
ZK_KERNEL_TARGET void PlanRegister(CascadePlan& plan, int r, const StereoStage* const* stages,
                                   const int* stageIndex) {
    constexpr int kLanes = 2 * V::kSections;
    PlannedRegisters<V>& regs = RegistersOf<V>(plan);
    const double* coeffs[kLanes];
    bool on[kLanes];
    for (int l = 0; l < kLanes; ++l) {
        const int slot = SlotOfLane<V>(l);
        const int ch = l - V::SlotLane(slot);
        const StereoStage* stage = stages[slot];
        CBiquad* b = stage != nullptr ? stage->channel[ch] : nullptr;
        on[l] = Runs(b);
        coeffs[l] = on[l] ? &b->Coeffs().b0 : nullptr;
        regs.rows[r][l] = on[l] ? &b->State().x1 : nullptr;
        if (on[l]) {
            plan.lanes[stageIndex[slot]][ch] = static_cast<std::int16_t>(16 * r + l);
        }
    }
    static_assert(sizeof(BiquadCoeffs) == 5 * sizeof(double) &&
                  sizeof(BiquadState) == 4 * sizeof(double));
    typename V::Reg c[5];
    V::template LoadColumns<5>(coeffs, c);
    regs.group[r] = {c[0], c[1], c[2], c[3], c[4], V::MaskOf(on)};
}

// Sets the plan up for stages[0..stageCount) and the tail (the plan's key: the
// stages with their sections' generations; then the stages that run, grouped
// into passes, and their registers). At most kMaxStages stages with the tail's.
template <class V>
ZK_KERNEL_TARGET void MakePlan(CascadePlan& plan, const StereoStage* stages, int stageCount,
                               const MidSideTail* tail, int kernel) {
    plan.kernel = 0;
    plan.stageCount = stageCount;
    plan.withTail = tail != nullptr;
    const int keyed = stageCount + (tail != nullptr ? 1 : 0);
    for (int k = 0; k < keyed; ++k) {
        plan.stages[k] = k < stageCount ? stages[k] : StereoStage{{tail->mid, tail->side}};
        for (int ch = 0; ch < 2; ++ch) {
            const CBiquad* b = plan.stages[k].channel[ch];
            plan.generations[k][ch] = b != nullptr ? b->Generation() : 0;
            plan.lanes[k][ch] = -1;
        }
    }
    plan.midSideInPass = tail != nullptr && (Runs(tail->mid) || Runs(tail->side));
    // The stages that run on at least one channel (a stage on one channel only
    // passes the other lane through by mask); the mid/side stage last.
    const StereoStage* run[CascadePlan::kMaxStages];
    int runIndex[CascadePlan::kMaxStages];
    bool oneChannel[CascadePlan::kMaxStages];
    int listed = 0;
    for (int k = 0; k < keyed; ++k) {
        const bool on1 = Runs(plan.stages[k].channel[0]);
        const bool on2 = Runs(plan.stages[k].channel[1]);
        if ((on1 || on2) && (k < stageCount || plan.midSideInPass)) {
            oneChannel[listed] = on1 != on2;
            runIndex[listed] = k;
            run[listed++] = &plan.stages[k];
        }
    }
    // Registers spread evenly over the fewest passes, so that no pass is left
    // with a lone register (its feedback would set the pace); the extra ones go
    // to the later passes (with the mid/side stage in the last).
    const int registers = (listed + V::kSections - 1) / V::kSections;
    const int passes = (registers + V::kMaxRegisters - 1) / V::kMaxRegisters;
    plan.passCount = passes;
    for (int p = 0, first = 0, r = 0; p < passes; ++p) {
        const int g = registers / passes + (p >= passes - registers % passes ? 1 : 0);
        const int sections = V::kSections * g < listed - first ? V::kSections * g : listed - first;
        bool masked = false;
        for (int k = first; k < first + sections; ++k) {
            masked = masked || oneChannel[k];
        }
        plan.passes[p] = {static_cast<std::int8_t>(r), static_cast<std::int8_t>(g),
                          static_cast<std::int8_t>(sections), masked};
        // Dealt out like cards: register j, slot k holds the pass's section k g + j.
        for (int j = 0; j < g; ++j, ++r) {
            const StereoStage* slot[V::kSections];
            int index[V::kSections];
            for (int k = 0; k < V::kSections; ++k) {
                const int s = k * g + j;
                slot[k] = s < sections ? run[first + s] : nullptr;
                index[k] = s < sections ? runIndex[first + s] : 0;
            }
            PlanRegister<V>(plan, r, slot, index);
        }
        first += sections;
    }
    plan.kernel = kernel;
}

// Whether the plan serves stages[0..stageCount) and the tail as they are now. A
// section whose generation moved on but which still runs (or still does not)
// gets its coefficients reloaded into its lane; anything else asks for a new plan.
template <class V>
ZK_KERNEL_TARGET bool RenewPlan(CascadePlan& plan, const StereoStage* stages, int stageCount,
                                const MidSideTail* tail, int kernel) {
    if (plan.kernel != kernel || plan.stageCount != stageCount ||
        plan.withTail != (tail != nullptr)) {
        return false;
    }
    const int keyed = stageCount + (tail != nullptr ? 1 : 0);
    for (int k = 0; k < keyed; ++k) {
        const StereoStage given = k < stageCount ? stages[k] : StereoStage{{tail->mid, tail->side}};
        for (int ch = 0; ch < 2; ++ch) {
            CBiquad* b = given.channel[ch];
            if (b != plan.stages[k].channel[ch]) {
                return false;
            }
            if (b == nullptr || b->Generation() == plan.generations[k][ch]) {
                continue;
            }
            const int lane = plan.lanes[k][ch];
            if (Runs(b) != (lane >= 0)) {
                return false;
            }
            if (lane >= 0) {
                // Into the plan's copy of the register, lane by lane.
                Group<V>& g = RegistersOf<V>(plan).group[lane / 16];
                const BiquadCoeffs& c = b->Coeffs();
                const std::size_t at = static_cast<std::size_t>(lane % 16) * sizeof(double);
                std::memcpy(reinterpret_cast<unsigned char*>(&g.b0) + at, &c.b0, sizeof(double));
                std::memcpy(reinterpret_cast<unsigned char*>(&g.b1) + at, &c.b1, sizeof(double));
                std::memcpy(reinterpret_cast<unsigned char*>(&g.b2) + at, &c.b2, sizeof(double));
                std::memcpy(reinterpret_cast<unsigned char*>(&g.a1) + at, &c.a1, sizeof(double));
                std::memcpy(reinterpret_cast<unsigned char*>(&g.a2) + at, &c.a2, sizeof(double));
            }
            plan.generations[k][ch] = b->Generation();
        }
    }
    return true;
}

} // namespace
} // namespace kernels
} // namespace zk
