#pragma once

// A minimal host for driving a unit in tests: it owns the unit and a pumped run
// loop installed while the unit initialises, sets parameters through the event
// service (so the unit's listener sees them) and renders non-interleaved blocks.
#include "framework/AUBase.h"
#include "framework/AUEvents.h"
#include "framework/Component.h"
#include "framework/RunLoop.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace zktest {

class UnitHost {
public:
    UnitHost(AudioUnitPtr unit, double sampleRate, UInt32 channels, UInt32 maxFrames = 4096)
        : loop(CFRunLoop::CreatePumped()), unit(std::move(unit)), channels(channels) {
        Expect(this->unit->SetSampleRateAndChannels(sampleRate, channels, channels), "format");
        Expect(this->unit->SetMaxFramesPerSlice(maxFrames), "max frames");
        ScopedCurrentRunLoop scope(loop);
        Expect(this->unit->DoInitialize(), "initialize");
    }

    AUBase& Unit() { return *unit; }
    template <class T> T& As() { return dynamic_cast<T&>(*unit); }

    // Sets a parameter as a host would, with listeners told, then delivers events.
    void Set(AudioUnitParameterID id, float value) {
        AudioUnitParameter p{unit.get(), id, kAudioUnitScope_Global, 0};
        Expect(AUParameterSet(nullptr, nullptr, &p, value, 0), "set parameter");
        Pump();
    }
    void Gesture(AudioUnitParameterID id, bool begin) {
        AudioUnitEvent e;
        e.mEventType = begin ? kAudioUnitEvent_BeginParameterChangeGesture
                             : kAudioUnitEvent_EndParameterChangeGesture;
        e.mArgument.mParameter = {unit.get(), id, kAudioUnitScope_Global, 0};
        Expect(AUEventListenerNotify(nullptr, nullptr, &e), "gesture");
        Pump();
    }
    float Get(AudioUnitParameterID id) {
        AudioUnitParameterValue v = 0;
        Expect(unit->GetParameter(id, kAudioUnitScope_Global, 0, v), "get parameter");
        return v;
    }
    void Pump() { loop->Pump(); }

    // Renders whole channels (one vector per channel) in blocks of `block` frames.
    std::vector<std::vector<float>> Render(const std::vector<std::vector<float>>& in,
                                           UInt32 block = 512) {
        std::vector<std::vector<float>> out(in.size(), std::vector<float>(in[0].size()));
        const std::size_t total = in[0].size();
        std::vector<const float*> ip(in.size());
        std::vector<float*> op(in.size());
        for (std::size_t pos = 0; pos < total; pos += block) {
            const UInt32 n = static_cast<UInt32>(std::min<std::size_t>(block, total - pos));
            for (std::size_t c = 0; c < in.size(); ++c) {
                ip[c] = in[c].data() + pos;
                op[c] = out[c].data() + pos;
            }
            AudioUnitRenderActionFlags flags = 0;
            Expect(unit->Render(flags, n, ip, op), "render");
            Pump();
        }
        return out;
    }

private:
    static void Expect(OSStatus s, const char* what) {
        if (s != noErr) {
            throw std::runtime_error(std::string(what) + " failed: " + std::to_string(s));
        }
    }

    std::shared_ptr<CFRunLoop> loop;
    AudioUnitPtr unit;
    UInt32 channels;
};

} // namespace zktest
