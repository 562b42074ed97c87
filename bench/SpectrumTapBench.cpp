// What the spectrum analyser's tap adds on the audio thread: Zkmorva 20 at 48
// kHz with every section active, stereo blocks of 256 frames, its input and
// output captured around each block as the plug-in does, with an editor reading
// (attached) and without one; and the capture alone. The added cost per stereo
// frame is the attached run's ns/frame minus the unit's own.
#include "BenchSupport.h"
#include "plugins/core/SpectrumTap.h"
#include "support/UnitHost.h"
#include "units/Zkmorva20AU.h"
#include "units/Zkmorva20Parameters.h"

#include <array>
#include <vector>

namespace {

using namespace zkbench;

constexpr double kRate = 48000.0;
constexpr long kNoiseFrames = kHostBlock * 64;

// The editor's side: takes everything queued, as its frames would.
void Drain(SampleRing& ring) {
    std::array<float*, 4> skip{};
    ring.Read(skip, ring.Available());
}

void Run(benchmark::State& state, bool unit, bool reader) {
    zktest::UnitHost host(OpenZkmorva20(), kRate, 2, static_cast<UInt32>(kHostBlock));
    for (AudioUnitParameterID first : {zk::kZ20Channel1First, zk::kZ20Channel2First}) {
        for (AudioUnitParameterID b = 0; b < 5; ++b) {
            host.Set(first + zk::kZ20LfGain + 5 * b, b % 2 ? -3.0f : 3.0f);
            host.Set(first + zk::kZ20LfOn + 5 * b, 1.0f);
        }
    }
    zkplug::SpectrumTap tap(2);
    if (reader) {
        tap.Ring().Attach();
    }
    std::vector<double> l = Noise(kNoiseFrames, 1), r = Noise(kNoiseFrames, 2);
    std::vector<float> lf(l.begin(), l.end()), rf(r.begin(), r.end());
    std::vector<float> ol(lf.size()), orr(rf.size());
    long pos = 0;
    int blocks = 0;
    for (auto _ : state) {
        const std::array<const float*, 2> in{lf.data() + pos, rf.data() + pos};
        const std::array<float*, 2> out{ol.data() + pos, orr.data() + pos};
        tap.CaptureInputs(in.data(), static_cast<UInt32>(kHostBlock));
        if (unit) {
            AudioUnitRenderActionFlags flags = 0;
            host.Unit().Render(flags, static_cast<UInt32>(kHostBlock), in, out);
        }
        tap.CaptureOutputs(out.data());
        benchmark::DoNotOptimize(out[0][0]);
        pos = (pos + kHostBlock) % kNoiseFrames;
        if (++blocks % 32 == 0) {
            Drain(tap.Ring());
        }
    }
    if (reader && tap.Ring().Dropped() != 0) {
        state.SkipWithError("the ring dropped blocks: the timing is not of the copy");
    }
    SetFrameCounters(state, kHostBlock, kRate, 0.0);
}

BENCHMARK_CAPTURE(Run, Zkmorva20Unit_48000Hz_NoEditor, true, false);
BENCHMARK_CAPTURE(Run, Zkmorva20Unit_48000Hz_EditorReading, true, true);
BENCHMARK_CAPTURE(Run, CaptureOnly_48000Hz_EditorReading, false, true);

} // namespace
