#pragma once

// The built-in demo signal: stereo, 48 kHz, 8 s. Tones, then a sweep from 20 Hz to
// 20 kHz, then noise, all with some stereo width, and a low anti-phase (side) tone
// throughout for the mono maker. Computed, not stored; the same every time.
#include "cli/RenderDriver.h"

#include <cstdint>

namespace zkcli {

class DemoSource : public BlockSource {
public:
    static constexpr double kSampleRate = 48000.0;
    static constexpr std::uint64_t kFrames = 8 * 48000;

    unsigned Channels() const override { return 2; }
    double SampleRate() const override { return kSampleRate; }
    std::uint64_t TotalFrames() const override { return kFrames; }
    unsigned Read(float* const* channels, unsigned frames) override;

private:
    std::uint64_t position = 0;
    std::uint64_t noiseState = 0x2545F4914F6CDD1DULL;
    double lowL = 0.0, lowR = 0.0; // one-pole state that tilts the noise downwards
};

} // namespace zkcli
