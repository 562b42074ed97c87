#include "plugins/core/SpectrumTap.h"

#include <array>
#include <charconv>

namespace zkplug {

namespace {

// The process-wide table of published rings: fixed, lock-free, never allocates.
struct Published {
    std::atomic<std::uint64_t> token{0};
    std::atomic<SampleRing*> ring{nullptr};
};
constexpr std::size_t kTableSize = 256;
std::array<Published, kTableSize>& Table() {
    static std::array<Published, kTableSize> table;
    return table;
}

std::uint32_t Pack(const zk::SpectrumSettings& s) {
    return (s.on ? 1u : 0u) | (s.input ? 2u : 0u) | (s.output ? 4u : 0u) | (s.midSide ? 8u : 0u) |
           (s.peakHold ? 16u : 0u);
}

zk::SpectrumSettings Unpack(std::uint32_t bits) {
    return {(bits & 1u) != 0, (bits & 2u) != 0, (bits & 4u) != 0, (bits & 8u) != 0,
            (bits & 16u) != 0};
}

} // namespace

SpectrumTap::SpectrumTap(UInt32 channels_)
    : channels(channels_), ring(2 * channels_, kRingFrames), settings(Pack({})) {}

zk::SpectrumSettings SpectrumTap::Settings() const {
    return Unpack(settings.load(std::memory_order_relaxed));
}

SpectrumTap::~SpectrumTap() {
    if (slot >= 0) {
        Published& entry = Table()[static_cast<std::size_t>(slot)];
        entry.token.store(0, std::memory_order_release);
        entry.ring.store(nullptr, std::memory_order_release);
    }
}

void SpectrumTap::CaptureInputs(const float* const* inputs, UInt32 frames) {
    if (ring.BeginBlock(frames) == 0 || inputs == nullptr) {
        return;
    }
    for (UInt32 c = 0; c < channels; ++c) {
        ring.Write(c, inputs[c]);
    }
}

void SpectrumTap::CaptureOutputs(const float* const* outputs) {
    if (outputs != nullptr) {
        for (UInt32 c = 0; c < channels; ++c) {
            ring.Write(channels + c, outputs[c]);
        }
    }
    ring.Commit();
}

std::string SpectrumTap::SavedSettings() const {
    return zk::FormatSpectrumSettings(Settings());
}

void SpectrumTap::RestoreSettings(std::string_view text) {
    settings.store(Pack(zk::ParseSpectrumSettings(text)), std::memory_order_relaxed);
}

std::string SpectrumTap::FormatToken(std::uint64_t token) {
    std::array<char, 16> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), token, 16).ptr;
    return std::string(digits.data(), end);
}

std::optional<std::uint64_t> SpectrumTap::ParseToken(std::string_view text) {
    std::uint64_t token = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), token, 16);
    if (error != std::errc() || end != text.data() + text.size() || token == 0) {
        return std::nullopt;
    }
    return token;
}

bool SpectrumTap::Publish(std::string_view tokenText) {
    const std::optional<std::uint64_t> token = ParseToken(tokenText);
    if (!token) {
        return false;
    }
    auto& table = Table();
    for (std::size_t i = 0; slot < 0 && i < table.size(); ++i) {
        SampleRing* empty = nullptr;
        if (table[i].ring.compare_exchange_strong(empty, &ring, std::memory_order_acq_rel)) {
            slot = static_cast<int>(i);
        }
    }
    if (slot < 0) {
        return false;
    }
    table[static_cast<std::size_t>(slot)].token.store(*token, std::memory_order_release);
    return true;
}

SampleRing* SpectrumTap::FindRing(std::uint64_t token) {
    if (token == 0) {
        return nullptr;
    }
    for (Published& entry : Table()) {
        if (entry.token.load(std::memory_order_acquire) == token) {
            return entry.ring.load(std::memory_order_acquire);
        }
    }
    return nullptr;
}

} // namespace zkplug
