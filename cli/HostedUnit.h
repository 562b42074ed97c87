#pragma once

// A unit driven as the plug-ins drive it: formats set, every setting and gesture
// handed to the unit directly between blocks (no listener, no run loop). Nothing
// runs on another thread, so the same settings and input always give the same bits.
// The renderer reads the unit's own changes back, so the unit answers changes as it
// does for a plug-in host that hears them: a linked control moves its partner.
#include "cli/Parameters.h"
#include "cli/UnitCatalog.h"
#include "framework/Component.h"
#include "units/ZkmorvaAU.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace zkcli {

class HostedUnit {
public:
    HostedUnit(const UnitKind& kind, double sampleRate, unsigned channels, unsigned maxFrames);
    HostedUnit(const HostedUnit&) = delete;
    HostedUnit& operator=(const HostedUnit&) = delete;

    AUBase& Unit() { return *unit; }
    const UnitKind& Kind() const { return kind; }
    unsigned Channels() const { return channels; }
    unsigned MaxFrames() const { return maxFrames; }

    // Loads a saved-state document; `source` names it in the error (CliError).
    void RestoreState(std::string_view document, const std::string& source);
    // Sets the values as one batch, as a host's block start does.
    void Apply(std::span<const Setting> settings);
    // Host reset: clears the filters' memory and re-reads every parameter.
    void Reset();
    // Opens a change gesture on a control and leaves it open (auto-listen holds).
    void BeginGesture(AudioUnitParameterID id);
    // The unit's latency in frames at its rate.
    unsigned LatencyFrames();
    float Parameter(AudioUnitParameterID id);

    // One block, `frames` <= MaxFrames(). Allocates nothing.
    void Render(const float* const* inputs, float* const* outputs, unsigned frames);

private:
    const UnitKind& kind;
    AudioUnitPtr unit;
    CZkmorvaAU* events = nullptr; // the same unit's event entry
    unsigned channels;
    unsigned maxFrames;
};

} // namespace zkcli
