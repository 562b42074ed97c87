#pragma once

// Drives the channel EQ's processor the way its effect unit does: rate set, work
// buffer sized, history cleared, then blocks of one channel.
#include "dsp/Zkmorva10SignalProcessing.h"
#include "support/Measure.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace zktest {

// Records what the processor tells its owner about auto-listen.
class CRecordingProcessor : public CZkmorva10SignalProcessing {
public:
    void DrawAutoListen(bool on, long paramId) override { draws.emplace_back(on, paramId); }
    std::vector<std::pair<bool, long>> draws;
};

inline const double kSixDb = 20.0 * std::log10(2.0);

inline void SetCut(CZkmorvaHpLpFilter& f, double frequency, double slope) {
    f.Update(slope, CZkmorvaHpLpFilter::kSlope);
    f.Update(frequency, CZkmorvaHpLpFilter::kFrequency);
}
inline void SetShift(CZkmorvaShifter& s, double frequency, double gain) {
    s.Update(frequency, CZkmorvaShifter::kFrequency);
    s.Update(gain, CZkmorvaShifter::kGain);
}

struct Zkmorva10Rig {
    static constexpr long kBlock = 512;

    explicit Zkmorva10Rig(double hostRate, long maxFrames = kBlock) : rate(hostRate) {
        p.UpdateSampleRate(hostRate);
        p.AllocateWorkBuffer(maxFrames);
        p.InitBuffers();
    }

    // In place, in blocks of `block` frames.
    void Run(double* buffer, long count, long block = kBlock) {
        for (long done = 0; done < count; done += block) {
            double* x = buffer + done;
            p.ProcessDoubles(&x, &x, std::min(block, count - done));
        }
    }
    std::vector<double> Run(std::vector<double> v, long block = kBlock) {
        Run(v.data(), static_cast<long>(v.size()), block);
        return v;
    }
    std::vector<float> RunFloats(std::vector<float> v, long block = kBlock) {
        for (long done = 0; done < static_cast<long>(v.size()); done += block) {
            float* x = v.data() + done;
            p.ProcessFloats(&x, &x, std::min(block, static_cast<long>(v.size()) - done));
        }
        return v;
    }
    // A band as the unit's dispatch sets it: settings field and section.
    void SetBand(int b, double gain, double frequency, double q, bool on = true) {
        p.band[static_cast<std::size_t>(b)] = {gain, q, frequency, on};
        CBiquad& s = p.GetBandFilter(b);
        s.Update(q, CBiquad::kQ);
        s.Update(frequency, CBiquad::kFrequency);
        s.Update(gain, CBiquad::kGain);
    }
    // Gain of the whole processor at one frequency, from a fresh history.
    double GainDb(double frequency) {
        p.InitBuffers();
        return MeasureGainDb([this](double* b, long n) { Run(b, n); }, frequency, rate);
    }

    double rate;
    CRecordingProcessor p;
};

// The denormal-guard noise, written from its description (sign bit, seven
// mantissa bits, magnitude 2^-67 (1 + k/128)) rather than from bit masks.
class NoiseReference {
public:
    double Next() {
        seed = seed * 1234567u + 890123u;
        const int k = static_cast<int>((seed >> 16) & 0x7Fu);
        const double magnitude = std::ldexp(1.0 + k / 128.0, -67);
        return (seed >> 31) != 0 ? -magnitude : magnitude;
    }

private:
    std::uint32_t seed = 1;
};

} // namespace zktest
