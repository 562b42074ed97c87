#include "plugins/ui/RemoteSpectrum.h"

#include "plugins/core/SpectrumTap.h"
#include "plugins/ui/AudioModuleRing.h"

#include <chrono>
#include <cstring>
#include <random>

namespace zkplug {

namespace {

// Look-ups (one per analyser frame) before the request is sent again, in case the
// first one was lost (an LV2 host without a worker thread drops it).
constexpr int kRequestAgainAfter = 60;

std::uint64_t NewToken(const void* self) {
    std::random_device device;
    std::uint64_t token = (static_cast<std::uint64_t>(device()) << 32) ^ device();
    token ^= reinterpret_cast<std::uintptr_t>(self);
    token ^=
        static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    return token != 0 ? token : 1;
}

} // namespace

RemoteSpectrum::RemoteSpectrum(RemoteHost& h) : host(h), token(NewToken(this)) {}

std::optional<OSStatus> RemoteSpectrum::GetInfo(AudioUnitPropertyID id, UInt32& size,
                                                Boolean& writable) const {
    if (id == zk::kSpectrumSettingsProperty) {
        size = sizeof(zk::SpectrumSettings);
        writable = true;
        return noErr;
    }
    if (id == zk::kSpectrumRingProperty) {
        size = sizeof(SampleRing*);
        writable = false;
        return noErr;
    }
    return std::nullopt;
}

std::optional<OSStatus> RemoteSpectrum::Get(AudioUnitPropertyID id, void* out) {
    if (id == zk::kSpectrumSettingsProperty) {
        std::memcpy(out, &settings, sizeof settings);
        return noErr;
    }
    if (id != zk::kSpectrumRingProperty) {
        return std::nullopt;
    }
    SampleRing* ring = FindRingInProcess(token);
    if (ring == nullptr) {
        if (unanswered < 0 || unanswered >= kRequestAgainAfter) {
            host.SendState(kSpectrumTapKey, SpectrumTap::FormatToken(token));
            unanswered = 0;
        }
        ++unanswered;
        return kAudioUnitErr_PropertyNotInUse;
    }
    std::memcpy(out, &ring, sizeof ring);
    return noErr;
}

std::optional<OSStatus> RemoteSpectrum::Set(AudioUnitPropertyID id, const void* data, UInt32 size) {
    if (id == zk::kSpectrumRingProperty) {
        return kAudioUnitErr_PropertyNotWritable;
    }
    if (id != zk::kSpectrumSettingsProperty) {
        return std::nullopt;
    }
    if (data == nullptr || size != sizeof(zk::SpectrumSettings)) {
        return kAudioUnitErr_InvalidPropertyValue;
    }
    zk::SpectrumSettings wanted;
    std::memcpy(&wanted, data, sizeof wanted);
    if (!(wanted == settings)) {
        settings = wanted;
        host.SendState(kSpectrumStateKey, zk::FormatSpectrumSettings(settings));
    }
    return noErr;
}

bool RemoteSpectrum::StateChanged(const char* key, const char* value) {
    if (key == nullptr || value == nullptr || std::strcmp(key, kSpectrumStateKey) != 0) {
        return false;
    }
    const zk::SpectrumSettings restored = zk::ParseSpectrumSettings(value);
    if (restored == settings) {
        return false;
    }
    settings = restored;
    return true;
}

} // namespace zkplug
