#pragma once

// Driving the two-channel processor from tests: a subclass that stands in for
// the unit's link virtuals, block-wise stereo runs and band set-up the way the
// unit's dispatch does it (settings field plus filter update).
#include "dsp/Zkmorva20SignalProcessing.h"
#include "support/Measure.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <numbers>
#include <utility>
#include <vector>

namespace zktest {

class CTestProcessor20 : public CZkmorva20SignalProcessing {
public:
    std::map<long, long> linkStatus;
    std::map<long, long> linkedControl;
    std::vector<std::pair<bool, long>> draws;

    long GetLinkStatus(long id) override {
        const auto it = linkStatus.find(id);
        return it == linkStatus.end() ? 0 : it->second;
    }
    long GetLinkedControl(long id) override {
        const auto it = linkedControl.find(id);
        return it == linkedControl.end() ? 0 : it->second;
    }
    void DrawAutoListen(bool on, long id) override { draws.emplace_back(on, id); }

    // Links a channel 1 control with its channel 2 counterpart both ways.
    void Link(long channel1Id) {
        linkStatus[channel1Id] = linkStatus[channel1Id + 41] = 1;
        linkedControl[channel1Id] = channel1Id + 41;
        linkedControl[channel1Id + 41] = channel1Id;
    }
};

constexpr long kMaxBlock = 512;

inline void Prepare(CZkmorva20SignalProcessing& p, double hostRate) {
    p.UpdateSampleRate(hostRate);
    p.AllocateWorkBuffers(kMaxBlock);
    p.InitBuffers();
}

struct Stereo {
    std::vector<double> l, r;
};

// Runs both channels through ProcessDoubles in blocks of `block` frames, calling
// `afterBlock` (if any) after each.
inline Stereo RunStereo(CZkmorva20SignalProcessing& p, const std::vector<double>& l,
                        const std::vector<double>& r, long block = kMaxBlock,
                        const std::function<void()>& afterBlock = {}) {
    Stereo out{std::vector<double>(l.size()), std::vector<double>(r.size())};
    const long n = static_cast<long>(l.size());
    for (long start = 0; start < n; start += block) {
        const long frames = std::min(block, n - start);
        double* in[2] = {const_cast<double*>(l.data()) + start,
                         const_cast<double*>(r.data()) + start};
        double* o[2] = {out.l.data() + start, out.r.data() + start};
        p.ProcessDoubles(in, o, frames);
        if (afterBlock) {
            afterBlock();
        }
    }
    return out;
}

inline std::vector<double> Silence(long n) {
    return std::vector<double>(static_cast<size_t>(n), 0.0);
}

inline std::vector<double> Scaled(std::vector<double> v, double factor) {
    for (double& x : v) {
        x *= factor;
    }
    return v;
}

// Amplitude of the tone at f in the second half of v.
inline double Level(const std::vector<double>& v, double f, double rate) {
    return ToneAmplitude(v, static_cast<long>(v.size()) / 2, f, rate);
}

inline double LevelDb(const std::vector<double>& v, double f, double rate) {
    return ToDb(Level(v, f, rate));
}

inline double DbToFactor(double db) {
    return std::pow(10.0, db / 20.0);
}

// A peaking band: settings field and filter, as the parameter dispatch sets them.
inline void SetPeak(CZkmorva20SignalProcessing& p, int channel, int band, double gainDb,
                    double frequency, double q) {
    constexpr BandSettings ChannelSettings::*kBands[] = {
        &ChannelSettings::lf, &ChannelSettings::lmf, &ChannelSettings::mf, &ChannelSettings::hmf,
        &ChannelSettings::hf};
    BandSettings& b = p.GetChannelSettings(channel).*kBands[band];
    b.gain = DbToFactor(gainDb);
    b.frequency = frequency;
    b.q = q;
    b.on = true;
    p.GetChannelFilters(channel).bandFilter[static_cast<size_t>(band)].Update(
        filterParameters{Peak, b.gain, frequency, q});
}

// Magnitude in dB of an ideal bell (boost: zeros at gain/q, cut: poles at
// 1/(gain q)) mapped through the prewarped bilinear transform.
inline double BellDb(double gainDb, double f, double f0, double q, double fs) {
    const double w = std::tan(std::numbers::pi * f / fs) / std::tan(std::numbers::pi * f0 / fs);
    const double g = DbToFactor(std::abs(gainDb));
    const double re = 1.0 - w * w;
    const double ratio = std::hypot(re, w * g / q) / std::hypot(re, w / q);
    return ToDb(gainDb >= 0.0 ? ratio : 1.0 / ratio);
}

constexpr int kLf = 0, kLmf = 1, kMf = 2, kHmf = 3, kHf = 4;

} // namespace zktest
