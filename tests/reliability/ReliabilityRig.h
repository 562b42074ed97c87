#pragma once

// What the reliability suites share: the three unit configurations the plug-ins
// ship (channel EQ mono and stereo, two-channel EQ), a deterministic host for one
// unit (pumped run loop, settings stored before initialisation or pushed by a
// reset), random settings and signals, and the checks on rendered audio.

#include "framework/AUBase.h"
#include "framework/AUEvents.h"
#include "framework/Component.h"
#include "framework/RunLoop.h"
#include "plugins/core/PluginCore.h"
#include "plugins/core/UnitDescriptor.h"
#include "units/Zkmorva10AU.h"
#include "units/Zkmorva20AU.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zkrel {

using Channels = std::vector<std::vector<float>>;
using Settings = std::vector<std::pair<AudioUnitParameterID, float>>;

struct UnitKind {
    const char* name;
    AudioUnitPtr (*open)();
    UInt32 channels;
    std::span<const zk::ParameterDef> parameters;
    AudioUnitParameterID lastDispatched;
};

inline const std::vector<UnitKind>& Kinds() {
    static const std::vector<UnitKind> kinds{
        {"Zkmorva10Mono", &OpenZkmorva10, 1, zk::kZkmorva10Parameters, zk::kZ10LastDispatched},
        {"Zkmorva10Stereo", &OpenZkmorva10, 2, zk::kZkmorva10Parameters, zk::kZ10LastDispatched},
        {"Zkmorva20", &OpenZkmorva20, 2, zk::kZkmorva20Parameters, zk::kZ20LastDispatched},
    };
    return kinds;
}

inline std::vector<const UnitKind*> KindPointers() {
    std::vector<const UnitKind*> k;
    for (const UnitKind& u : Kinds()) {
        k.push_back(&u);
    }
    return k;
}

// Names the tests parameterised by KindPointers().
struct KindName {
    template <class ParamInfo> std::string operator()(const ParamInfo& info) const {
        return info.param->name;
    }
};

// The plug-in that ships a unit configuration.
inline const zkplug::UnitDescriptor& DescriptorOf(const UnitKind& kind) {
    return kind.channels == 1                              ? zkplug::Zkmorva10Mono()
           : kind.lastDispatched == zk::kZ10LastDispatched ? zkplug::Zkmorva10Stereo()
                                                           : zkplug::Zkmorva20();
}

// The host rates every suite sweeps, including an odd one.
inline constexpr double kRates[] = {8000.0,  22050.0, 44100.0,  48000.0,  64000.0,
                                    88200.0, 96000.0, 192000.0, 384000.0, 12345.678};

// Seconds of soak from ZK_SOAK_SECONDS (longer runs on demand), else `fallback`.
inline double SoakSeconds(double fallback) {
    const char* s = std::getenv("ZK_SOAK_SECONDS");
    return s != nullptr ? std::max(0.05, std::atof(s)) : fallback;
}

inline bool IsSubnormal(float v) {
    return std::fpclassify(v) == FP_SUBNORMAL;
}

// What rendered audio showed: the worst magnitude and the first bad sample.
struct AudioCheck {
    float worst = 0.0f;
    long nonFinite = 0;
    long subnormal = 0;
    long firstBad = -1;

    void Add(std::span<const float> samples, long offset = 0) {
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const float v = samples[i];
            if (!std::isfinite(v)) {
                ++nonFinite;
            } else if (IsSubnormal(v)) {
                ++subnormal;
            } else {
                worst = std::max(worst, std::fabs(v));
                continue;
            }
            if (firstBad < 0) {
                firstBad = offset + static_cast<long>(i);
            }
        }
    }
    void Add(const Channels& c) {
        for (const auto& ch : c) {
            Add(ch);
        }
    }
    bool Clean() const { return nonFinite == 0 && subnormal == 0; }
    std::string Describe() const {
        return "worst |y| " + std::to_string(worst) + ", non-finite " + std::to_string(nonFinite) +
               ", subnormal " + std::to_string(subnormal) + ", first bad sample " +
               std::to_string(firstBad);
    }
};

// Noise plus a sweep-ish tone within +-1, different per channel.
inline Channels Noise(UInt32 channels, std::size_t frames, std::uint32_t seed, float peak = 0.9f) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> d(-peak, peak);
    Channels c(channels, std::vector<float>(frames));
    for (auto& ch : c) {
        for (float& v : ch) {
            v = d(rng);
        }
    }
    return c;
}

inline bool Identical(const Channels& a, const Channels& b) {
    for (std::size_t c = 0; c < a.size(); ++c) {
        if (std::memcmp(a[c].data(), b[c].data(), a[c].size() * sizeof(float)) != 0) {
            return false;
        }
    }
    return a.size() == b.size();
}

// One call's channel pointers: inputs from `in`, outputs into `out`.
struct Pointers {
    Pointers(const Channels& in, Channels& out) {
        for (std::size_t c = 0; c < in.size(); ++c) {
            ip.push_back(in[c].data());
            op.push_back(out[c].data());
        }
    }
    std::vector<const float*> ip;
    std::vector<float*> op;
};

// The whole of `x` through a plug-in core in one call.
inline Channels ProcessCore(zkplug::PluginCore& core, const Channels& x,
                            zkplug::OwnChangeSink* sink = nullptr) {
    Channels y = x;
    Pointers p(x, y);
    core.Process(p.ip.data(), p.op.data(), static_cast<UInt32>(x[0].size()), sink);
    return y;
}

inline Channels Silence(UInt32 channels, std::size_t frames) {
    return Channels(channels, std::vector<float>(frames, 0.0f));
}

// A value inside a parameter's range: switches 0 or 1, the mode an index,
// frequencies and Q log-uniform, the rest uniform.
inline float RandomInRange(std::mt19937& rng, const zk::ParameterDef& p) {
    if (p.unit == kAudioUnitParameterUnit_Boolean) {
        return static_cast<float>(rng() % 2);
    }
    if (p.unit == kAudioUnitParameterUnit_Indexed) {
        return static_cast<float>(rng() % static_cast<unsigned>(p.maxValue + 1.0f));
    }
    const double u = std::uniform_real_distribution<double>(0.0, 1.0)(rng);
    if (p.minValue > 0.0f && (p.flags & kAudioUnitParameterFlag_DisplayLogarithmic) != 0) {
        return static_cast<float>(p.minValue * std::pow(p.maxValue / p.minValue, u));
    }
    return static_cast<float>(p.minValue + (p.maxValue - p.minValue) * u);
}

inline bool IsSettable(const zk::ParameterDef& p) {
    return zk::IsAutomatable(p) && !zk::IsMeter(p);
}

inline Settings RandomSettings(const UnitKind& kind, std::uint32_t seed) {
    std::mt19937 rng(seed);
    Settings s;
    for (const zk::ParameterDef& p : kind.parameters) {
        if (IsSettable(p) && p.id <= kind.lastDispatched) {
            s.emplace_back(p.id, RandomInRange(rng, p));
        }
    }
    return s;
}

// Every section on with an audible gain: the settings that run the most filters.
inline Settings AllActive(const UnitKind& kind) {
    Settings s;
    for (const zk::ParameterDef& p : kind.parameters) {
        if (!IsSettable(p) || p.id > kind.lastDispatched) {
            continue;
        }
        const std::string sym = p.symbol;
        if (p.unit == kAudioUnitParameterUnit_Boolean) {
            const bool off = sym.find("Solo") != std::string::npos ||
                             sym.find("Link") != std::string::npos ||
                             sym.find("Phase") != std::string::npos;
            s.emplace_back(p.id, off ? 0.0f : 1.0f);
        } else if (sym.find("Gain") != std::string::npos && p.id > 5 &&
                   sym.find("Input") == std::string::npos &&
                   sym.find("Output") == std::string::npos) {
            s.emplace_back(p.id, 4.5f);
        } else if (sym.find("HpFrequency") != std::string::npos) {
            s.emplace_back(p.id, 60.0f);
        } else if (sym.find("LpFrequency") != std::string::npos) {
            s.emplace_back(p.id, 15000.0f);
        } else if (sym == "MonoMaker") {
            s.emplace_back(p.id, 120.0f);
        } else if (sym == "StereoWidth") {
            s.emplace_back(p.id, 140.0f);
        }
    }
    return s;
}

// One unit driven the way the plug-ins drive it, but deterministically: a pumped
// run loop (events are delivered on Pump), settings in the store before
// initialisation or pushed by a reset.
class Rig {
public:
    Rig(const UnitKind& kind, double rate, UInt32 maxFrames = 4096, const Settings& settings = {})
        : kind(kind), loop(CFRunLoop::CreatePumped()), unit(kind.open()), maxFrames(maxFrames) {
        Expect(unit->SetSampleRateAndChannels(rate, kind.channels, kind.channels), "format");
        Expect(unit->SetMaxFramesPerSlice(maxFrames), "max frames");
        Store(settings);
        ScopedCurrentRunLoop scope(loop);
        Expect(unit->DoInitialize(), "initialize");
    }

    AUBase& Unit() { return *unit; }
    UInt32 Channels() const { return kind.channels; }
    UInt32 MaxFrames() const { return maxFrames; }

    // Into the store only; a Reset() or the next initialisation pushes them.
    void Store(const Settings& settings) {
        for (const auto& [id, value] : settings) {
            Expect(unit->SetParameter(id, kAudioUnitScope_Global, 0, value, 0), "store");
        }
    }
    // As a host automates: stored, listeners told, events delivered (the unit
    // applies them at its next block).
    void Automate(AudioUnitParameterID id, float value) {
        AudioUnitParameter p{unit.get(), id, kAudioUnitScope_Global, 0};
        AUParameterSet(nullptr, nullptr, &p, value, 0);
    }
    void Gesture(AudioUnitParameterID id, bool begin) {
        AudioUnitEvent e;
        e.mEventType = begin ? kAudioUnitEvent_BeginParameterChangeGesture
                             : kAudioUnitEvent_EndParameterChangeGesture;
        e.mArgument.mParameter = {unit.get(), id, kAudioUnitScope_Global, 0};
        AUEventListenerNotify(nullptr, nullptr, &e);
    }
    void Pump() { loop->Pump(); }
    void Reset() { Expect(unit->DoReset(kAudioUnitScope_Global, 0), "reset"); }

    // One render call on raw pointers (in may equal out).
    OSStatus RenderRaw(const std::vector<const float*>& in, const std::vector<float*>& out,
                       UInt32 frames) {
        AudioUnitRenderActionFlags flags = 0;
        return unit->Render(flags, frames, in, out);
    }

    // Renders `in` in blocks whose sizes come from `next` (called until done;
    // sizes above the maximum are cut down). Events are pumped between blocks.
    template <class NextBlock>
    zkrel::Channels RenderBlocks(const zkrel::Channels& in, NextBlock next) {
        zkrel::Channels out(in.size(), std::vector<float>(in[0].size()));
        const std::size_t total = in[0].size();
        std::vector<const float*> ip(in.size());
        std::vector<float*> op(in.size());
        for (std::size_t pos = 0; pos < total;) {
            UInt32 n = std::min<UInt32>(next(), maxFrames);
            n = static_cast<UInt32>(std::min<std::size_t>(n, total - pos));
            for (std::size_t c = 0; c < in.size(); ++c) {
                ip[c] = in[c].data() + pos;
                op[c] = out[c].data() + pos;
            }
            Expect(RenderRaw(ip, op, n), "render");
            Pump();
            pos += n;
        }
        return out;
    }
    zkrel::Channels Render(const zkrel::Channels& in, UInt32 block = 512) {
        return RenderBlocks(in, [block] { return block; });
    }

    static void Expect(OSStatus s, const char* what) {
        if (s != noErr) {
            throw std::runtime_error(std::string(what) + " failed: " + std::to_string(s));
        }
    }

private:
    const UnitKind& kind;
    std::shared_ptr<CFRunLoop> loop;
    AudioUnitPtr unit;
    UInt32 maxFrames;
};

inline std::string RateName(double rate) {
    std::string s = std::to_string(static_cast<long>(rate * 1000.0));
    return s + "mHz";
}

} // namespace zkrel
