#pragma once

// The audio side of the editor's spectrum analyser: a sample ring holding each
// block's input and output (slots: inputs of every channel, then outputs), the
// analyser's settings as saved with the plug-in's state, and the hand-over of
// the ring to an editor that runs in the same process.
//
//   UI -> DSP  key kSpectrumTapKey, value: the editor's token (hex). The tap
//              publishes its ring under that token in a process-wide table; the
//              editor finds it there (FindRing). An editor in another process
//              never does, and shows the curve without a spectrum. Never saved.
//   state      key kSpectrumStateKey: the settings (units/SpectrumSettings.h),
//              saved by the host and given to the UI on restore.
//
// Threads: Capture* on the audio thread (no allocation, lock or wait; nothing is
// copied while no editor reads); the rest on the host's main or worker thread.
// Hosts close an editor before they free its instance, which keeps the ring
// alive while an editor reads it.

#include "framework/SampleRing.h"
#include "framework/Types.h"
#include "units/SpectrumSettings.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zkplug {

inline constexpr const char* kSpectrumStateKey = "Spectrum";
inline constexpr const char* kSpectrumTapKey = "SpectrumTap";

// The function an LV2 audio module exports (C linkage) so that its UI module,
// loaded apart in the same process with a table of its own, finds the rings
// published here: SampleRing* (std::uint64_t token).
inline constexpr const char* kFindRingSymbol = "zkmorva_find_spectrum_ring";
using FindRingFunction = SampleRing* (*)(std::uint64_t token);

class SpectrumTap {
public:
    // About 0.7 s at 48 kHz: an editor reading at its frame rate never runs short.
    static constexpr std::size_t kRingFrames = 32768;

    explicit SpectrumTap(UInt32 channels);
    ~SpectrumTap();
    SpectrumTap(const SpectrumTap&) = delete;
    SpectrumTap& operator=(const SpectrumTap&) = delete;

    // Audio thread, around the processing of one block.
    void CaptureInputs(const float* const* inputs, UInt32 frames);
    void CaptureOutputs(const float* const* outputs);

    std::string SavedSettings() const;
    // Never allocates (DPF may call it from a worker thread).
    void RestoreSettings(std::string_view text);
    zk::SpectrumSettings Settings() const;

    // Publishes the ring under an editor's token; false for a malformed token or
    // a full table. A later token replaces the earlier one.
    bool Publish(std::string_view tokenText);
    SampleRing& Ring() { return ring; }

    // The ring published under a token in this process, or null.
    static SampleRing* FindRing(std::uint64_t token);
    static std::string FormatToken(std::uint64_t token);
    static std::optional<std::uint64_t> ParseToken(std::string_view text);

private:
    const UInt32 channels;
    SampleRing ring;
    std::atomic<std::uint32_t> settings; // one bit per setting
    int slot = -1;                       // in the process-wide table, once published
};

} // namespace zkplug
