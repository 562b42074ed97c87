// Measures what silence after noise costs: CPU time per frame of ten seconds of
// noise, then of ten seconds of silence that follows it, for both units with
// every section running. Denormal arithmetic would make the silence slower; the
// ratio is printed (a measurement, not a test). ZK_SOAK_SECONDS sets the length.
#include "tests/reliability/ReliabilityRig.h"

#include <chrono>
#include <cstdio>
#include <ctime>

namespace {

using namespace zkrel;

double CpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

double NsPerFrame(Rig& rig, const Channels& in) {
    const double start = CpuSeconds();
    rig.Render(in, 512);
    return (CpuSeconds() - start) * 1e9 / static_cast<double>(in[0].size());
}

} // namespace

int main() {
    const double seconds = SoakSeconds(10.0);
    double worst = 0.0;
    std::printf("%-16s %9s %14s %16s %7s\n", "unit", "rate", "noise ns/frame", "silence ns/frame",
                "ratio");
    for (const UnitKind& kind : Kinds()) {
        for (double rate : {44100.0, 96000.0}) {
            const auto frames = static_cast<std::size_t>(rate * seconds);
            Rig rig(kind, rate, 512, AllActive(kind));
            const Channels noise = Noise(kind.channels, frames, 1);
            const Channels silence = Silence(kind.channels, frames);
            const double n = NsPerFrame(rig, noise);
            const double s = NsPerFrame(rig, silence);
            worst = std::max(worst, s / n);
            std::printf("%-16s %9.0f %14.1f %16.1f %7.3f\n", kind.name, rate, n, s, s / n);
        }
    }
    std::printf("worst silence/noise ratio: %.3f (limit 1.2)\n", worst);
    return worst <= 1.2 ? 0 : 1;
}
