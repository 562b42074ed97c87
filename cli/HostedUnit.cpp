#include "cli/HostedUnit.h"

#include "cli/CliError.h"

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
    : kind(kind), unit(kind.open()), channels(channels), maxFrames(maxFrames) {
    events = dynamic_cast<CZkmorvaAU*>(unit.get());
    if (events == nullptr) {
        throw CliError(std::string(kind.title) + " could not be opened");
    }
    events->UseDirectEvents();
    Expect(unit->SetSampleRateAndChannels(sampleRate, channels, channels), kind,
           "setting the stream format");
    Expect(unit->SetMaxFramesPerSlice(maxFrames), kind, "setting the block size");
    Expect(unit->DoInitialize(), kind, "initialising");
}

void HostedUnit::RestoreState(std::string_view document, const std::string& source) {
    std::string error;
    if (unit->RestoreState(document, &error) != noErr) {
        throw CliError("preset " + source + ": " + error);
    }
}

void HostedUnit::Apply(std::span<const Setting> settings) {
    std::vector<zk::ParameterEvent> batch;
    batch.reserve(settings.size());
    for (const Setting& s : settings) {
        batch.push_back({kAudioUnitEvent_ParameterValueChange, s.id, s.value});
    }
    events->ApplyParameterEvents(batch);
}

void HostedUnit::Reset() {
    Expect(unit->DoReset(kAudioUnitScope_Global, 0), kind, "reset");
}

void HostedUnit::BeginGesture(AudioUnitParameterID id) {
    const zk::ParameterEvent begin{kAudioUnitEvent_BeginParameterChangeGesture, id, 0.0f};
    events->ApplyParameterEvents({&begin, 1});
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
}

} // namespace zkcli
