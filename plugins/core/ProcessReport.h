#pragma once

// What one call of the plug-in's run() hands back to the format wrapper that made it.
//
// CLAP and VST3 tell the host about parameter changes through the process call's
// own output (CLAP output events, VST3 output parameter changes), which DPF does
// not offer for input parameters. Their wrappers install a report on the audio
// thread around each call into DPF's process; the plug-in's run(), which DPF calls
// on that same thread, appends the parameters the unit set itself (a linked
// partner, the master link's switches, the other solo) and the wrapper turns them
// into output events at the frame the segment started. With no report installed
// (LV2, JACK) the plug-in asks DPF to pass the change on where the host can take it.
//
// Never allocates, locks or waits.

#include <array>
#include <cstddef>
#include <cstdint>

namespace zkplug {

struct ReportedChange {
    std::uint32_t index = 0; // the host's parameter index
    float value = 0.0f;      // in the parameter's own unit (not normalised)
};

class ProcessReport {
public:
    // Enough for every input parameter of the largest unit several times over; a
    // change that finds the report full is dropped and counted.
    static constexpr std::size_t kCapacity = 512;

    void Add(std::uint32_t index, float value) {
        if (count < changes.size()) {
            changes[count++] = {index, value};
        } else {
            ++dropped;
        }
    }
    void Clear() { count = 0; }
    std::size_t Size() const { return count; }
    const ReportedChange& operator[](std::size_t i) const { return changes[i]; }
    std::uint64_t Dropped() const { return dropped; }

private:
    std::array<ReportedChange, kCapacity> changes{};
    std::size_t count = 0;
    std::uint64_t dropped = 0;
};

// The report installed on the calling thread, or null.
ProcessReport* CurrentProcessReport();

// Installs a report on the calling thread for one call into DPF's process.
class ScopedProcessReport {
public:
    explicit ScopedProcessReport(ProcessReport& report);
    ~ScopedProcessReport();
    ScopedProcessReport(const ScopedProcessReport&) = delete;
    ScopedProcessReport& operator=(const ScopedProcessReport&) = delete;

private:
    ProcessReport* previous;
};

} // namespace zkplug
