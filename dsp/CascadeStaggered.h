// The two-channel fused pass on wide registers, written once for every register
// width. Included by one source file per instruction set, each of which first
// defines ZK_KERNEL_TARGET (the function attribute that enables its instructions)
// and then a lane type V that wraps them; everything here has internal linkage,
// so no function built for one instruction set is ever shared with another.
//
// The G registers of a pass hold its sections dealt out like cards: section s
// in register s % G, slot s / G, both channels (lanes SlotLane(slot) and the
// next, channel 1 first). The sections are staggered in time: at step n section s
// works on sample n - kStagger s, so a section's input is what the section
// before it produced kStagger steps earlier (already in a register) and no lane
// waits on another lane of the same step. Two steps rather than one keep the
// hand-over off the critical path: a section's own feedback (one multiply and
// two subtractions per sample) is then the longest wait. Dealt out this way, a
// register's inputs are the previous register's outputs as they stand; only the
// first register's are shifted by a slot (with the pass's input in slot 0), one
// shuffle per step instead of one per register (the shuffles share a port with
// the arithmetic).
//
// Each lane does exactly the arithmetic of CBiquad::FilterBuffer in the same
// order (no FMA, no reassociation), so samples and histories are those of the
// per-section loops bit for bit. While the pipeline fills and drains every
// register steps as in the steady state: a section gets its histories back
// when it starts, and its histories are taken at its last sample. (Blending
// the unstarted lanes' histories back every step made the fill slow; leaving
// out the registers that had not started or were done cost more than their
// arithmetic.)
//
// A pass with fewer sections than slots leaves the spare ones at the end of the
// chain with zero coefficients: they compute what nobody reads (the pass's
// output is taken from its last section's lanes), which costs less than masking
// a pass-through into every lane of every step.
//
// The lane type V provides: Reg, Mask, Pick, kSections, kMaxRegisters, SlotLane
// (a slot's first lane), LoadColumns<N> (register k lane l from rows[l][k],
// k < N, zero for a null row) and StoreColumns4 (the reverse for N = 4,
// skipping null rows), kHistoriesOutOfLine (see LoadHistories), Mul, Add, Sub,
// SubWhere (a - b in the lanes of a mask, keep in the others), MaskOf (one flag
// per lane), SlotMask (a slot's lanes), Blend (mask ? take : keep), Feed (the
// first register's inputs: the pass's input, then the last register's outputs
// moved up a slot), PickOf, Take and Put (one slot's two lanes out of a
// register and into it; with kStaticSlot also TakeSlot<K> and PutSlot<K> for a
// slot known at compile time), and the mid/side stage's MidSide
// (MidSideMatrix), ScaleSide, MidSide2 and ScaleSide2 (the same on two pairs at
// once) in forms that suit its instruction set.
#pragma once

#include "CascadeKernels.h"
#include "CascadeStaggeredPlan.h"
#include "MidSideStage.h"

#include <immintrin.h>

#ifndef ZK_KERNEL_TARGET
#error "define ZK_KERNEL_TARGET before including CascadeStaggered.h"
#endif

namespace zk {
namespace kernels {
namespace {

// The steady loop's helpers are always inlined: four steps a round exceed GCC's
// inlining limits, and a call there spills every register of the pipe.
#define ZK_STEP_INLINE inline __attribute__((always_inline))

constexpr int kStagger = 2;  // steps between a section and the next (EdgeStep relies on 2)
constexpr long kChunk = 512; // frames interleaved per round, on the stack (8 KB)

// The histories of every register, in two banks whose roles alternate: at step
// n the latest values are in bank n % 2 and the ones before in the other, and a
// step writes its new values over the older bank. Moving every history down one
// place each step would cost a register copy per history per step.
template <class V, int G> struct Pipe { typename V::Reg x[2][G], y[2][G]; };

// The difference equation in CBiquad's order: (((b0 x + b1 x1) + b2 x2) - a1 y1) - a2 y2.
template <class V, bool Masked>
ZK_KERNEL_TARGET ZK_STEP_INLINE typename V::Reg Output(const Group<V>& p, typename V::Reg x,
                                                       typename V::Reg x1, typename V::Reg x2,
                                                       typename V::Reg y1, typename V::Reg y2) {
    const typename V::Reg t = V::Sub(
        V::Add(V::Add(V::Mul(p.b0, x), V::Mul(p.b1, x1)), V::Mul(p.b2, x2)), V::Mul(p.a1, y1));
    if constexpr (Masked) {
        return V::SubWhere(p.run, t, V::Mul(p.a2, y2), x);
    }
    return V::Sub(t, V::Mul(p.a2, y2));
}

// The lanes of each slot of a register.
template <class V> struct SlotMasks { typename V::Mask slot[V::kSections]; };

template <class V> ZK_KERNEL_TARGET SlotMasks<V> MakeSlotMasks() {
    SlotMasks<V> m;
    for (int k = 0; k < V::kSections; ++k) {
        m.slot[k] = V::SlotMask(k);
    }
    return m;
}

// The mid/side stage's numbers, for the pass whose last section is the stage's
// mid and side sections.
// Without the width the factor is 1.0: the side's product is then the side
// itself bit for bit (the values here come from arithmetic, never signalling
// NaNs), and the step has no test for it.
struct MidSideNumbers {
    __m128d divisor, widthFactor;
};

// Where the pass's output is: its last section's register and slot (with the
// mid/side stage that section is the stage's). Outside the steady loop both
// are run-time values: the register is picked by unrolled tests (the pipe
// stays in registers) and the slot by the lane type's Take and Put, so that
// one form of the pass serves every exit.
template <class V> struct Exit {
    int reg;
    int slotIndex;
    typename V::Pick slot;
    MidSideNumbers midSide;
};

// regs[e] (e < G): E itself where it is known at compile time (E >= 0), else by
// unrolled tests (an index known only at run time would put the pipe on the
// stack).
template <class V, int G, int E>
ZK_KERNEL_TARGET ZK_STEP_INLINE typename V::Reg RegisterAt(const typename V::Reg (&regs)[G],
                                                           int e) {
    if constexpr (E >= 0) {
        return regs[E];
    }
    typename V::Reg r = regs[0];
#pragma GCC unroll 4
    for (int j = 1; j < G; ++j) {
        if (e == j) {
            r = regs[j];
        }
    }
    return r;
}

// The exit slot's lanes of r, and v put into them: the slot K itself where the
// lane type takes it at compile time (K >= 0), else the run-time pick.
template <class V, int K>
ZK_KERNEL_TARGET ZK_STEP_INLINE __m128d TakeExit(typename V::Reg r, const typename V::Pick& slot) {
    if constexpr (K >= 0) {
        return V::template TakeSlot<K>(r);
    }
    return V::Take(r, slot);
}

template <class V, int K>
ZK_KERNEL_TARGET ZK_STEP_INLINE typename V::Reg PutExit(typename V::Reg r, __m128d v,
                                                        const typename V::Pick& slot) {
    if constexpr (K >= 0) {
        return V::template PutSlot<K>(r, v);
    }
    return V::Put(r, v, slot);
}

// Whether register j is the exit's (E as in RegisterAt).
template <int E> ZK_STEP_INLINE bool IsExit(int j, int reg) {
    if constexpr (E >= 0) {
        return j == E;
    }
    return j == reg;
}

// Register j's inputs at step n (n % 2 == P): first for the first register,
// register j - 1's outputs of kStagger steps ago for the others.
template <class V, int G, int P>
ZK_KERNEL_TARGET ZK_STEP_INLINE typename V::Reg InputOf(const Pipe<V, G>& q, int j,
                                                        typename V::Reg first) {
    return j == 0 ? first : q.y[1 - P][j > 0 ? j - 1 : 0];
}

// Register j's difference equation on x at step n (n % 2 == P), its histories'
// banks updated (the new values over the older bank, 1 - P).
template <class V, int G, bool Masked, int P>
ZK_KERNEL_TARGET ZK_STEP_INLINE void Advance(Pipe<V, G>& q, const Group<V>* p, int j,
                                             typename V::Reg x) {
    constexpr int kOlder = 1 - P;
    const typename V::Reg y =
        Output<V, Masked>(p[j], x, q.x[P][j], q.x[kOlder][j], q.y[P][j], q.y[kOlder][j]);
    q.x[kOlder][j] = x;
    q.y[kOlder][j] = y;
}

// One step of every register: section s of the pass works on sample
// n - kStagger s (n % 2 == P); in is the pass's input sample n. Returns the
// output of the pass's last section. With MidSide that section is the mid/side
// stage's: its input lanes take the matrix of what they receive (left and right
// to mid and side) and its output goes through the width and back.
template <class V, int G, bool Masked, bool MidSide, int P, int E = -1, int K = -1>
ZK_KERNEL_TARGET ZK_STEP_INLINE __m128d Step(Pipe<V, G>& q, const Group<V>* p, __m128d in,
                                             const Exit<V>& exit) {
    const typename V::Reg first = V::Feed(in, q.y[1 - P][G - 1]);
    // From the last register down, so that each reads its predecessor's
    // outputs of kStagger steps ago before they are overwritten.
#pragma GCC unroll 4
    for (int j = G - 1; j >= 0; --j) {
        typename V::Reg x = InputOf<V, G, P>(q, j, first);
        if constexpr (MidSide) {
            if (IsExit<E>(j, exit.reg)) {
                x = PutExit<V, K>(x, V::MidSide(TakeExit<V, K>(x, exit.slot), exit.midSide.divisor),
                                  exit.slot);
            }
        }
        Advance<V, G, Masked, P>(q, p, j, x);
    }
    const __m128d last = TakeExit<V, K>(RegisterAt<V, G, E>(q.y[1 - P], exit.reg), exit.slot);
    if constexpr (MidSide) {
        return V::MidSide(V::ScaleSide(last, exit.midSide.widthFactor), exit.midSide.divisor);
    }
    return last;
}

// One of StepPair's steps (n % 2 == P): input, the mid/side stage's input
// lanes, already through the matrix; returns the stage's section's outputs.
template <class V, int G, bool Masked, int P, int E, int K>
ZK_KERNEL_TARGET ZK_STEP_INLINE __m128d PairedStep(Pipe<V, G>& q, const Group<V>* p, __m128d in,
                                                   const Exit<V>& exit, __m128d input) {
    const typename V::Reg first = V::Feed(in, q.y[1 - P][G - 1]);
#pragma GCC unroll 4
    for (int j = G - 1; j >= 0; --j) {
        typename V::Reg x = InputOf<V, G, P>(q, j, first);
        if (IsExit<E>(j, exit.reg)) {
            x = PutExit<V, K>(x, input, exit.slot);
        }
        Advance<V, G, Masked, P>(q, p, j, x);
    }
    return TakeExit<V, K>(RegisterAt<V, G, E>(q.y[1 - P], exit.reg), exit.slot);
}

// Two steps (n even, then n + 1) of a pass that ends in the mid/side stage with
// its section in register E > 0, the stage's matrix taken for two samples at a
// time on 256-bit registers: both steps' stage inputs at step n (both are
// outputs of register E - 1 by then, one in each bank) and both outputs at
// step n + 1. Each lane sees the operations of two
// Steps; the pass's inputs of steps n and n + 1 are in[0] and in[1] (read where
// they are broadcast, so that the broadcast is a load rather than a shuffle),
// their outputs go to out0 and out1. The divider takes as long for four lanes
// as for two, and two divisions a step would set the pace of the pass.
template <class V, int G, bool Masked, int E, int K>
ZK_KERNEL_TARGET ZK_STEP_INLINE void StepPair(Pipe<V, G>& q, const Group<V>* p, const __m128d* in,
                                              const Exit<V>& exit, __m128d& out0, __m128d& out1) {
    const __m256d divisor = _mm256_set_m128d(exit.midSide.divisor, exit.midSide.divisor);
    static_assert(E > 0);
    // Register E - 1's outputs of steps n - 2 (bank 1) and n - 1 (bank 0).
    const __m256d raw = _mm256_set_m128d(TakeExit<V, K>(q.y[0][E - 1], exit.slot),
                                         TakeExit<V, K>(q.y[1][E - 1], exit.slot));
    const __m256d inputs = V::MidSide2(raw, divisor);
    const __m128d raw0 =
        PairedStep<V, G, Masked, 0, E, K>(q, p, in[0], exit, _mm256_castpd256_pd128(inputs));
    const __m128d raw1 =
        PairedStep<V, G, Masked, 1, E, K>(q, p, in[1], exit, _mm256_extractf128_pd(inputs, 1));
    const __m256d raws =
        V::ScaleSide2(_mm256_set_m128d(raw1, raw0),
                      _mm256_set_m128d(exit.midSide.widthFactor, exit.midSide.widthFactor));
    const __m256d outputs = V::MidSide2(raws, divisor);
    out0 = _mm256_castpd256_pd128(outputs);
    out1 = _mm256_extractf128_pd(outputs, 1);
}

// Steps n (even) and n + 1 of the steady state: at[0] and at[1] are their
// inputs, their outputs go latency samples back.
template <class V, int G, bool Masked, bool MidSide, int E, int K>
ZK_KERNEL_TARGET ZK_STEP_INLINE void TwoSteps(Pipe<V, G>& q, const Group<V>* p, __m128d* at,
                                              long latency, const Exit<V>& out) {
    if constexpr (MidSide && E > 0) {
        StepPair<V, G, Masked, E, K>(q, p, at, out, at[-latency], at[1 - latency]);
    } else {
        at[-latency] = Step<V, G, Masked, MidSide, 0, E, K>(q, p, at[0], out);
        at[1 - latency] = Step<V, G, Masked, MidSide, 1, E, K>(q, p, at[1], out);
    }
}

// The steady state from step n (even, every section started) in rounds of four
// steps while the block has four more before its last sample; returns the step
// after. The banks' roles are then fixed in the code, and each value keeps its
// register: a value lives four steps (two as a history, two as the next
// register's input). The steps left over go the way of the pipeline's fill
// and drain. The exit register (E) and, where the lane type takes it so, the
// exit slot (K) are compile-time constants here, picked by Steady: only this
// loop is written once per exit.
template <class V, int G, bool Masked, bool MidSide, int E, int K>
ZK_KERNEL_TARGET ZK_STEP_INLINE long SteadyAt(Pipe<V, G>& q, const Group<V>* p, __m128d* buf,
                                              long n, long count, long latency,
                                              const Exit<V>& out) {
    for (; n + 3 < count - 1; n += 4) {
        TwoSteps<V, G, Masked, MidSide, E, K>(q, p, buf + n, latency, out);
        TwoSteps<V, G, Masked, MidSide, E, K>(q, p, buf + n + 2, latency, out);
    }
    return n;
}

template <class V, int G, bool Masked, bool MidSide, int E,
          int K = V::kStaticSlot ? V::kSections - 1 : -1>
ZK_KERNEL_TARGET ZK_STEP_INLINE long SteadySlot(Pipe<V, G>& q, const Group<V>* p, __m128d* buf,
                                                long n, long count, long latency,
                                                const Exit<V>& out) {
    if constexpr (K > 0) {
        if (out.slotIndex < K) {
            return SteadySlot<V, G, Masked, MidSide, E, K - 1>(q, p, buf, n, count, latency, out);
        }
    }
    return SteadyAt<V, G, Masked, MidSide, E, K>(q, p, buf, n, count, latency, out);
}

template <class V, int G, bool Masked, bool MidSide, int E = G - 1>
ZK_KERNEL_TARGET ZK_STEP_INLINE long Steady(Pipe<V, G>& q, const Group<V>* p, __m128d* buf, long n,
                                            long count, long latency, const Exit<V>& out) {
    if constexpr (E > 0) {
        if (out.reg < E) {
            return Steady<V, G, Masked, MidSide, E - 1>(q, p, buf, n, count, latency, out);
        }
    }
    return SteadySlot<V, G, Masked, MidSide, E>(q, p, buf, n, count, latency, out);
}

// The lanes m of register target's four histories blended from src into dst,
// dst's banks in the layout of a bank pair (x[0] holds x1, x[1] x2, y[0] y1,
// y[1] y2) and src's latest values in bank Latest. The register is chosen by
// unrolled tests so that each history keeps its register (an index known only
// at run time put the whole pipe on the stack).
template <class V, int G, int Latest>
ZK_KERNEL_TARGET ZK_STEP_INLINE void BlendSection(Pipe<V, G>& dst, const Pipe<V, G>& src,
                                                  int target, typename V::Mask m) {
#pragma GCC unroll 8
    for (int j = 0; j < G; ++j) {
        if (j == target) {
            dst.x[0][j] = V::Blend(dst.x[0][j], src.x[Latest][j], m);
            dst.x[1][j] = V::Blend(dst.x[1][j], src.x[1 - Latest][j], m);
            dst.y[0][j] = V::Blend(dst.y[0][j], src.y[Latest][j], m);
            dst.y[1][j] = V::Blend(dst.y[1][j], src.y[1 - Latest][j], m);
        }
    }
}

// A section's histories after its last sample (step n, n % 2 == P) into taken,
// which holds every section's once it is done (after step n the latest values
// are in the bank step n wrote, 1 - P).
template <class V, int G, int P>
ZK_KERNEL_TARGET ZK_STEP_INLINE void Take(const Pipe<V, G>& q, const SlotMasks<V>& slots,
                                          int section, Pipe<V, G>& taken) {
    BlendSection<V, G, 1 - P>(taken, q, section % G, slots.slot[section / G]);
}

// A step while the pipeline fills or drains: every register steps, as in the
// steady state. Lanes whose section has not started compute on what the lanes
// before them hold, and lanes whose section is done go on computing; no one
// reads either (the pass's output is taken once its last section has started,
// and what a done section makes next reaches its successor only after that
// one's own last sample). When a section starts (starting, at step kStagger s,
// always with P == 0) its lanes get back the histories it had before the
// block; when it takes its last sample (finishing) its histories go to taken.
// Stepping every register costs less than testing which ones run: the tests
// and a register index known only at run time put the pipe on the stack.
template <class V, int G, bool Masked, bool MidSide, int P>
ZK_KERNEL_TARGET ZK_STEP_INLINE __m128d EdgeStep(Pipe<V, G>& q, const Pipe<V, G>& before,
                                                 Pipe<V, G>& taken, const SlotMasks<V>& slots,
                                                 const Group<V>* p, __m128d in, int starting,
                                                 int finishing, const Exit<V>& exit) {
    if constexpr (P == 0) {
        if (starting >= 0) {
            // Before the step: the restored lanes of bank 1 are also what the
            // next register's unstarted section reads as its input; no one
            // reads that.
            BlendSection<V, G, 0>(q, before, starting % G, slots.slot[starting / G]);
        }
    }
    const __m128d last = Step<V, G, Masked, MidSide, P>(q, p, in, exit);
    if (finishing >= 0) {
        Take<V, G, P>(q, slots, finishing, taken);
    }
    return last;
}

// The histories of a pass's registers from their lanes' rows (kLanes per
// register) as x1, x2, y1, y2 per register, and back. Lane types whose column
// loads take many instructions (kHistoriesOutOfLine) keep them out of line,
// once for every form of the pass; the others have them inline, where a pass
// starts sooner.
template <class V>
ZK_KERNEL_TARGET __attribute__((noinline)) void LoadHistories(double* const* rows, int registers,
                                                              typename V::Reg* out) {
    for (int j = 0; j < registers; ++j) {
        V::template LoadColumns<4>(rows + 2 * V::kSections * j, out + 4 * j);
    }
}

template <class V>
ZK_KERNEL_TARGET __attribute__((noinline)) void StoreHistories(double* const* rows, int registers,
                                                               const typename V::Reg* in) {
    for (int j = 0; j < registers; ++j) {
        V::StoreColumns4(rows + 2 * V::kSections * j, in + 4 * j);
    }
}

template <class V, int G>
ZK_KERNEL_TARGET ZK_STEP_INLINE void LoadPipe(double* const* rows, Pipe<V, G>& q) {
    typename V::Reg h[4 * G];
    if constexpr (V::kHistoriesOutOfLine) {
        LoadHistories<V>(rows, G, h);
    } else {
        for (int j = 0; j < G; ++j) {
            V::template LoadColumns<4>(rows + 2 * V::kSections * j, h + 4 * j);
        }
    }
    for (int j = 0; j < G; ++j) {
        q.x[0][j] = h[4 * j];
        q.x[1][j] = h[4 * j + 1];
        q.y[0][j] = h[4 * j + 2];
        q.y[1][j] = h[4 * j + 3];
    }
}

template <class V, int G>
ZK_KERNEL_TARGET ZK_STEP_INLINE void StorePipe(const Pipe<V, G>& q, double* const* rows) {
    typename V::Reg h[4 * G];
    for (int j = 0; j < G; ++j) {
        h[4 * j] = q.x[0][j];
        h[4 * j + 1] = q.x[1][j];
        h[4 * j + 2] = q.y[0][j];
        h[4 * j + 3] = q.y[1][j];
    }
    if constexpr (V::kHistoriesOutOfLine) {
        StoreHistories<V>(rows, G, h);
    } else {
        for (int j = 0; j < G; ++j) {
            V::StoreColumns4(rows + 2 * V::kSections * j, h + 4 * j);
        }
    }
}

// Runs a pass over buf[0..count): its G registers' coefficients p and lane
// histories' rows (kLanes per register), kSections (G - 1) < sections <=
// kSections G. With MidSide the last section is the mid/side stage's.
template <class V, int G, bool Masked, bool MidSide>
ZK_KERNEL_TARGET void RunPass(__m128d* buf, long count, const Group<V>* planned,
                              double* const* rows, int sections, const MidSideNumbers& midSide) {
    // A copy of its own: the compiler then knows that no store into the buffer
    // changes a coefficient.
    Group<V> p[G];
    for (int j = 0; j < G; ++j) {
        p[j] = planned[j];
    }
    const long kLatency = kStagger * (sections - 1); // steps from input to output
    const SlotMasks<V> slots = MakeSlotMasks<V>();
    const int last = sections - 1;
    const Exit<V> out{last % G, last / G, V::PickOf(last / G), midSide};
    Pipe<V, G> q;
    LoadPipe<V, G>(rows, q);
    const Pipe<V, G> before = q;
    Pipe<V, G> taken = before;
    const long total = count + kLatency;
    for (long n = 0; n < total;) {
        if (n > kLatency && n % 2 == 0 && n + 3 < count - 1) {
            // Every section started (the last at step kLatency) and inside the block.
            n = Steady<V, G, Masked, MidSide>(q, p, buf, n, count, kLatency, out);
            continue;
        }
        const __m128d in = n < count ? buf[n] : _mm_setzero_pd();
        // Section s starts at step kStagger s and takes its last sample at
        // step count - 1 + kStagger s.
        const long since = n - (count - 1);
        const int starting =
            n % kStagger == 0 && n / kStagger < sections ? static_cast<int>(n / kStagger) : -1;
        const int finishing = since >= 0 && since % kStagger == 0 && since / kStagger < sections
                                  ? static_cast<int>(since / kStagger)
                                  : -1;
        const __m128d y = n % 2 == 0
                              ? EdgeStep<V, G, Masked, MidSide, 0>(q, before, taken, slots, p, in,
                                                                   starting, finishing, out)
                              : EdgeStep<V, G, Masked, MidSide, 1>(q, before, taken, slots, p, in,
                                                                   starting, finishing, out);
        if (n >= kLatency) {
            buf[n - kLatency] = y;
        }
        ++n;
    }
    StorePipe<V, G>(taken, rows);
}

// RunPass for a register count known only at run time (1..G); midSide null
// when the pass does not end in the mid/side stage. Passes without a stage on
// one channel only go without the mask (its blend takes a port the
// multiplications need).
template <class V, int G>
ZK_KERNEL_TARGET void RunPassOf(int registers, __m128d* buf, long count, const Group<V>* p,
                                double* const* rows, int sections, bool masked,
                                const MidSideNumbers* midSide) {
    if constexpr (G > 1) {
        if (registers < G) {
            RunPassOf<V, G - 1>(registers, buf, count, p, rows, sections, masked, midSide);
            return;
        }
    }
    const MidSideNumbers none{};
    if (midSide != nullptr) {
        masked ? RunPass<V, G, true, true>(buf, count, p, rows, sections, *midSide)
               : RunPass<V, G, false, true>(buf, count, p, rows, sections, *midSide);
    } else {
        masked ? RunPass<V, G, true, false>(buf, count, p, rows, sections, none)
               : RunPass<V, G, false, false>(buf, count, p, rows, sections, none);
    }
}

// The two channels into frames [left, right] and back, V::kWeave frames at a
// time by the lane type (frame-by-frame copies were a large part of a flat
// block), the rest one by one.
template <class V>
ZK_KERNEL_TARGET void Weave(const double* left, const double* right, __m128d* frames, long n) {
    long i = 0;
    for (; i + V::kWeave <= n; i += V::kWeave) {
        V::Weave(left + i, right + i, frames + i);
    }
    for (; i < n; ++i) {
        frames[i] = _mm_set_pd(right[i], left[i]);
    }
}

template <class V>
ZK_KERNEL_TARGET void Unweave(const __m128d* frames, double* left, double* right, long n) {
    long i = 0;
    for (; i + V::kWeave <= n; i += V::kWeave) {
        V::Unweave(frames + i, left + i, right + i);
    }
    for (; i < n; ++i) {
        _mm_storel_pd(left + i, frames[i]);
        _mm_storeh_pd(right + i, frames[i]);
    }
}

// A plan's passes over left/right in chunks, then the mid/side stage on its own
// where none of its sections runs (only the matrix and the width).
template <class V>
ZK_KERNEL_TARGET void RunPlan(CascadePlan& plan, const MidSideTail* tail, double* left,
                              double* right, long count) {
    PlannedRegisters<V>& regs = RegistersOf<V>(plan);
    const MidSideNumbers midSide{
        _mm_set1_pd(kMidSideDivisor),
        _mm_set1_pd(tail != nullptr && tail->width ? tail->widthFactor : 1.0)};
    alignas(64) __m128d chunk[kChunk];
    for (long start = 0; start < count; start += kChunk) {
        const long n = count - start < kChunk ? count - start : kChunk;
        Weave<V>(left + start, right + start, chunk, n);
        for (int p = 0; p < plan.passCount; ++p) {
            const CascadePlan::Pass& pass = plan.passes[p];
            const bool endsInMidSide = plan.midSideInPass && p == plan.passCount - 1;
            RunPassOf<V, V::kMaxRegisters>(pass.registers, chunk, n,
                                           &regs.group[pass.firstRegister],
                                           &regs.rows[pass.firstRegister][0], pass.sections,
                                           pass.oneChannel, endsInMidSide ? &midSide : nullptr);
        }
        Unweave<V>(chunk, left + start, right + start, n);
    }
    if (tail != nullptr && !plan.midSideInPass) {
        RunMidSideStage(left, right, count, tail->mid, tail->side, tail->width, tail->widthFactor);
    }
}

// The whole chain: stages that run on at least one channel, grouped into
// registers and passes, over left/right in chunks; then the mid/side stage if
// tail is given: as the last stage of the last pass when one of its sections
// runs, else (only the matrix and the width) on its own. The set-up is kept in
// plan when one is given and the chain fits it; otherwise it is made for this
// call, a part of the chain at a time.
template <class V>
ZK_KERNEL_TARGET void FilterCascadeStereoStaggered(const StereoStage* stages, int stageCount,
                                                   const MidSideTail* tail, double* left,
                                                   double* right, long count, CascadePlan* plan,
                                                   int kernel) {
    if (count < 1) {
        return;
    }
    const int keyed = stageCount + (tail != nullptr ? 1 : 0);
    if (plan != nullptr && keyed <= CascadePlan::kMaxStages) {
        if (!RenewPlan<V>(*plan, stages, stageCount, tail, kernel)) {
            MakePlan<V>(*plan, stages, stageCount, tail, kernel);
        }
        RunPlan<V>(*plan, tail, left, right, count);
        return;
    }
    // Parts of the chain one after another (the tail with the last): each section
    // still sees its samples in order.
    CascadePlan local;
    constexpr int kPart = CascadePlan::kMaxStages - 1;
    for (int first = 0; first < stageCount || (first == 0 && tail != nullptr); first += kPart) {
        const int n = stageCount - first < kPart ? stageCount - first : kPart;
        const bool last = first + kPart >= stageCount;
        MakePlan<V>(local, stages + first, n, last ? tail : nullptr, kernel);
        RunPlan<V>(local, last ? tail : nullptr, left, right, count);
    }
}

} // namespace
} // namespace kernels
} // namespace zk
