#pragma once

// Driving the two-channel EQ unit in tests: a pumped host, settling of the
// render-thread dispatch, and tone levels per output channel.
#include "support/Measure.h"
#include "support/UnitHost.h"
#include "units/Zkmorva20AU.h"

#include <memory>
#include <vector>

namespace zktest {

inline std::unique_ptr<UnitHost> MakeHost20(double rate = 48000.0) {
    return std::make_unique<UnitHost>(OpenZkmorva20(), rate, 2);
}

// Parameter events are applied at the start of a block and linked changes are
// posted from there, so a few short blocks let every consequence arrive.
inline void Settle(UnitHost& host, int blocks = 3) {
    const std::vector<float> silence(16, 0.0f);
    for (int i = 0; i < blocks; ++i) {
        host.Render({silence, silence}, 16);
    }
}

inline std::vector<float> ToFloat(const std::vector<double>& v) {
    return {v.begin(), v.end()};
}

struct StereoLevels {
    double left, right;
};

// Amplitude at `frequency` of both outputs over the settled second half.
inline StereoLevels ToneLevels(UnitHost& host, const std::vector<double>& left,
                               const std::vector<double>& right, double frequency, double rate) {
    const auto out = host.Render({ToFloat(left), ToFloat(right)});
    const long n = static_cast<long>(left.size());
    const std::vector<double> l(out[0].begin(), out[0].end());
    const std::vector<double> r(out[1].begin(), out[1].end());
    return {ToneAmplitude(l, n / 2, frequency, rate), ToneAmplitude(r, n / 2, frequency, rate)};
}

} // namespace zktest
