#pragma once

// The remote unit's side of the spectrum analyser (plugins/core/SpectrumTap.h):
// the settings, mirrored from the plug-in's state and sent back when the editor
// changes them, and the instance's sample ring, asked for with a token of this
// editor and found when the audio side runs in the same process.
//
// UI thread only.

#include "plugins/ui/RemoteUnit.h"
#include "units/SpectrumSettings.h"

#include <cstdint>
#include <optional>

class SampleRing;

namespace zkplug {

class RemoteSpectrum {
public:
    explicit RemoteSpectrum(RemoteHost& host);

    // zk::kSpectrumSettingsProperty and zk::kSpectrumRingProperty; nothing for
    // other ids. The ring is "not in use" until the audio side has answered.
    std::optional<OSStatus> GetInfo(AudioUnitPropertyID id, UInt32& size, Boolean& writable) const;
    std::optional<OSStatus> Get(AudioUnitPropertyID id, void* out);
    std::optional<OSStatus> Set(AudioUnitPropertyID id, const void* data, UInt32 size);

    // A state value the host reports; true when it changed the settings.
    bool StateChanged(const char* key, const char* value);
    std::uint64_t Token() const { return token; }

private:
    RemoteHost& host;
    std::uint64_t token;
    zk::SpectrumSettings settings;
    int unanswered = -1; // ring look-ups since the last request; -1: none sent
};

} // namespace zkplug
