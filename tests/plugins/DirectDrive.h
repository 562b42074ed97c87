#pragma once

// The reference the plug-ins are compared with: the unit driven directly, the way
// the plug-ins drive it (settings stored before initialisation, then fixed-size
// blocks), and a deterministic test signal.

#include "framework/AUBase.h"
#include "framework/Component.h"
#include "framework/RunLoop.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zktest {

using Channels = std::vector<std::vector<float>>;
using Settings = std::vector<std::pair<AudioUnitParameterID, float>>;

// Noise plus a tone, different on every channel, peaking near -6 dBFS.
inline Channels TestSignal(std::size_t channels, std::size_t frames, double rate = 48000.0) {
    Channels out(channels, std::vector<float>(frames));
    std::uint32_t seed = 12345;
    for (std::size_t c = 0; c < channels; ++c) {
        for (std::size_t i = 0; i < frames; ++i) {
            seed = seed * 1664525u + 1013904223u;
            const double noise = (static_cast<double>(seed >> 8) / 16777216.0 - 0.5) * 0.4;
            const double tone = 0.25 * std::sin(2.0 * M_PI * (220.0 * static_cast<double>(c + 1)) *
                                                static_cast<double>(i) / rate);
            out[c][i] = static_cast<float>(noise + tone);
        }
    }
    return out;
}

inline Channels DirectDrive(AudioUnitPtr unit, double rate, UInt32 maxFrames,
                            const Settings& settings, const Channels& input, std::size_t block) {
    const auto channels = static_cast<UInt32>(input.size());
    auto expect = [](OSStatus s, const char* what) {
        if (s != noErr) {
            throw std::runtime_error(std::string(what) + " failed: " + std::to_string(s));
        }
    };
    expect(unit->SetSampleRateAndChannels(rate, channels, channels), "format");
    expect(unit->SetMaxFramesPerSlice(maxFrames), "max frames");
    for (const auto& [id, value] : settings) {
        expect(unit->SetParameter(id, kAudioUnitScope_Global, 0, value, 0), "set");
    }
    auto loop = CFRunLoop::CreatePumped();
    {
        ScopedCurrentRunLoop scope(loop);
        expect(unit->DoInitialize(), "initialize");
    }
    Channels out(channels, std::vector<float>(input[0].size()));
    std::vector<const float*> ip(channels);
    std::vector<float*> op(channels);
    for (std::size_t pos = 0; pos < input[0].size(); pos += block) {
        const auto n = static_cast<UInt32>(std::min(block, input[0].size() - pos));
        for (UInt32 c = 0; c < channels; ++c) {
            ip[c] = input[c].data() + pos;
            op[c] = out[c].data() + pos;
        }
        AudioUnitRenderActionFlags flags = 0;
        expect(unit->Render(flags, n, ip, op), "render");
    }
    return out;
}

} // namespace zktest
