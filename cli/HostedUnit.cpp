#include "cli/HostedUnit.h"

#include "cli/CliError.h"
#include "framework/AUEvents.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace zkcli {

namespace {
void Expect(OSStatus status, const UnitKind& kind, const char* what) {
    if (status != noErr) {
        throw CliError(std::string(kind.title) + ": " + what + " failed (error " +
                       std::to_string(status) + ")");
    }
}
} // namespace

HostedUnit::HostedUnit(const UnitKind& kind, double sampleRate, unsigned channels,
                       unsigned maxFrames)
    : kind(kind), loop(CFRunLoop::CreatePumped()), unit(kind.open()), channels(channels),
      maxFrames(maxFrames) {
    if (!unit) {
        throw CliError(std::string(kind.title) + " could not be opened");
    }
    Expect(unit->SetSampleRateAndChannels(sampleRate, channels, channels), kind,
           "setting the stream format");
    Expect(unit->SetMaxFramesPerSlice(maxFrames), kind, "setting the block size");
    ScopedCurrentRunLoop scope(loop);
    Expect(unit->DoInitialize(), kind, "initialising");
}

void HostedUnit::RestoreState(std::string_view document, const std::string& source) {
    std::string error;
    if (unit->RestoreState(document, &error) != noErr) {
        throw CliError("preset " + source + ": " + error);
    }
    loop->Pump();
}

void HostedUnit::Apply(std::span<const Setting> settings) {
    for (const Setting& s : settings) {
        AudioUnitParameter p{unit.get(), s.id, kAudioUnitScope_Global, 0};
        Expect(AUParameterSet(nullptr, nullptr, &p, s.value, 0), kind, "setting a parameter");
        loop->Pump();
    }
}

void HostedUnit::Reset() {
    Expect(unit->DoReset(kAudioUnitScope_Global, 0), kind, "reset");
    loop->Pump();
}

void HostedUnit::Settle() {
    constexpr unsigned kFrames = 64;
    std::vector<std::vector<float>> in(channels, std::vector<float>(kFrames, 0.0f));
    std::vector<std::vector<float>> out = in;
    std::vector<const float*> ip(channels);
    std::vector<float*> op(channels);
    for (unsigned c = 0; c < channels; ++c) {
        ip[c] = in[c].data();
        op[c] = out[c].data();
    }
    Render(ip.data(), op.data(), std::min(kFrames, maxFrames));
    loop->Pump();
}

void HostedUnit::BeginGesture(AudioUnitParameterID id) {
    AudioUnitEvent e;
    e.mEventType = kAudioUnitEvent_BeginParameterChangeGesture;
    e.mArgument.mParameter = {unit.get(), id, kAudioUnitScope_Global, 0};
    Expect(AUEventListenerNotify(nullptr, nullptr, &e), kind, "starting a gesture");
    loop->Pump();
}

unsigned HostedUnit::LatencyFrames() {
    return static_cast<unsigned>(std::lround(unit->GetLatency() * unit->GetSampleRate()));
}

float HostedUnit::Parameter(AudioUnitParameterID id) {
    AudioUnitParameterValue v = 0.0f;
    Expect(unit->GetParameter(id, kAudioUnitScope_Global, 0, v), kind, "reading a parameter");
    return v;
}

void HostedUnit::Render(const float* const* inputs, float* const* outputs, unsigned frames) {
    AudioUnitRenderActionFlags flags = 0;
    const OSStatus status =
        unit->Render(flags, frames, std::span<const float* const>(inputs, channels),
                     std::span<float* const>(outputs, channels));
    if (status != noErr) {
        throw CliError(std::string(kind.title) + ": render failed (error " +
                       std::to_string(status) + ")");
    }
    loop->Pump();
}

} // namespace zkcli
