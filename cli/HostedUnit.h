#pragma once

// A unit driven as a host drives it: formats set, initialised with a pumped run loop
// installed (so its parameter listener lives there), settings posted through the
// event service, events pumped between blocks. Nothing runs on another thread, so
// the same settings and input always give the same bits.
#include "cli/Parameters.h"
#include "cli/UnitCatalog.h"
#include "framework/Component.h"
#include "framework/RunLoop.h"

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
    // Sets each value as a host does (listeners told) and delivers the events.
    void Apply(std::span<const Setting> settings);
    // Host reset: clears the filters' memory and re-reads every parameter.
    void Reset();
    // Renders one short block of silence so that the unit takes in every pending
    // change, including the parameters it sets itself in answer (the master link
    // sets every link switch).
    void Settle();
    // Opens a change gesture on a control and leaves it open (auto-listen holds).
    void BeginGesture(AudioUnitParameterID id);
    // The unit's latency in frames at its rate.
    unsigned LatencyFrames();
    float Parameter(AudioUnitParameterID id);

    // One block, `frames` <= MaxFrames(), then the events it caused are delivered.
    // Allocates nothing.
    void Render(const float* const* inputs, float* const* outputs, unsigned frames);

private:
    const UnitKind& kind;
    std::shared_ptr<CFRunLoop> loop;
    AudioUnitPtr unit;
    unsigned channels;
    unsigned maxFrames;
};

} // namespace zkcli
