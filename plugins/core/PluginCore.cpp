#include "plugins/core/PluginCore.h"

#include "framework/AUEvents.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <span>

namespace zkplug {

PluginCore::PluginCore(const UnitDescriptor& d) : descriptor(d) {
    if (d.open == nullptr || d.channels == 0 || d.channels > kMaxChannels) {
        std::fprintf(stderr, "zkmorva: invalid plug-in description\n");
        return;
    }
    unit = d.open();
    if (!unit) {
        std::fprintf(stderr, "zkmorva: the unit could not be opened\n");
        return;
    }
    parameters = DescribeParameters(*unit, d);
    zkUnit = dynamic_cast<CZkmorvaAU*>(unit.get());
    if (zkUnit == nullptr) {
        std::fprintf(stderr, "zkmorva: the unit takes no direct events\n");
        unit.reset();
        return;
    }
    zkUnit->UseDirectEvents();
    outputOfIndex.assign(parameters.size(), -1);
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        const AudioUnitParameterID id = parameters[i].id;
        if (id >= indexOfId.size()) {
            indexOfId.resize(id + 1, UINT32_MAX);
        }
        indexOfId[id] = static_cast<std::uint32_t>(i);
        if (parameters[i].output && outputIds.size() < kMaxOutputs) {
            outputOfIndex[i] = static_cast<std::int32_t>(outputIds.size());
            outputIds.push_back(id);
        }
    }
    batch.reserve(kQueueCapacity);
}

PluginCore::~PluginCore() = default;

void PluginCore::LogOnce(std::atomic<bool>& flag, const std::string& message) const {
    if (!flag.exchange(true)) {
        std::fprintf(stderr, "zkmorva: %s\n", message.c_str());
    }
}

void PluginCore::SetParameter(std::size_t index, float value) {
    if (!unit || index >= parameters.size() || !std::isfinite(value)) {
        return;
    }
    const HostParameter& p = parameters[index];
    if (p.output) {
        return;
    }
    value = std::clamp(value, p.minValue, p.maxValue);
    unit->AUBase::SetParameter(p.id, kAudioUnitScope_Global, 0, value, 0);
    Queue({kAudioUnitEvent_ParameterValueChange, p.id, value});
}

void PluginCore::Queue(const zk::ParameterEvent& event) {
    if (!queue.TryPush(event)) {
        // Thousands of events between two blocks: the store has every value, so
        // the next block re-reads all of them (without the unit's answers).
        overflowedEvents.fetch_add(1, std::memory_order_relaxed);
        zkUnit->RequestFullUpdate();
    }
}

// Text-box events set their flag in the queue's order, between the events around them.
void PluginCore::ApplyQueued(OwnChangeSink* sink) {
    zkUnit->SetOwnChangesReachHost(sink != nullptr);
    bool more = true;
    while (more) {
        batch.clear();
        zk::ParameterEvent e;
        bool textBox = false;
        while (batch.size() < batch.capacity() && (more = queue.TryPop(e))) {
            if (e.type == kTextBoxEvent) {
                textBox = true;
                break;
            }
            batch.push_back(e);
        }
        // Called for an empty batch too: it brings in a restored state.
        zkUnit->ApplyParameterEvents(batch);
        if (sink != nullptr) {
            for (const zk::ParameterChange& c : zkUnit->OwnChanges()) {
                if (c.id < indexOfId.size() && indexOfId[c.id] != UINT32_MAX) {
                    sink->ParameterSetByUnit(indexOfId[c.id], c.value);
                }
            }
        }
        if (textBox) {
            const UInt8 on = 1;
            unit->SetProperty(CZkmorvaAU::kTextBoxCurrentControlProperty, kAudioUnitScope_Global, 0,
                              &on, sizeof on);
        }
        more = more && (textBox || batch.size() == batch.capacity());
    }
}

float PluginCore::GetParameter(std::size_t index) const {
    if (!unit || index >= parameters.size()) {
        return 0.0f;
    }
    const HostParameter& p = parameters[index];
    AudioUnitParameterValue value = p.defaultValue;
    if (const std::int32_t slot = outputOfIndex[index]; slot >= 0) {
        // Any thread: a reader that finds the values older than the last block
        // reads them all; two readers at once read the same values.
        const std::uint64_t block = processedBlocks.load(std::memory_order_acquire);
        if (outputsReadAfter.load(std::memory_order_acquire) != block) {
            std::array<float, kMaxOutputs> values{};
            zkUnit->GetParameters(outputIds, std::span<float>(values.data(), outputIds.size()));
            for (std::size_t i = 0; i < outputIds.size(); ++i) {
                outputValues[i].store(values[i], std::memory_order_relaxed);
            }
            outputsReadAfter.store(block, std::memory_order_release);
        }
        value = outputValues[static_cast<std::size_t>(slot)].load(std::memory_order_relaxed);
    } else if (p.output) {
        unit->GetParameter(p.id, kAudioUnitScope_Global, 0, value);
    } else {
        unit->PeekParameter(kAudioUnitScope_Global, 0, p.id, value);
    }
    return value;
}

void PluginCore::SetBypass(bool on) {
    if (auto* effect = dynamic_cast<AUEffectBase*>(unit.get())) {
        effect->SetBypassEffect(on);
    }
}

bool PluginCore::IsBypassed() const {
    const auto* effect = dynamic_cast<const AUEffectBase*>(unit.get());
    return effect != nullptr && effect->IsBypassEffect();
}

bool PluginCore::Activate(double sampleRate, UInt32 hostBlockFrames) {
    Deactivate();
    if (!unit) {
        return false;
    }
    if (!(sampleRate > 0.0) || !std::isfinite(sampleRate)) {
        LogOnce(loggedActivation, "refusing sample rate " + std::to_string(sampleRate));
        return false;
    }
    unitMaxFrames = std::clamp(hostBlockFrames, kMinUnitFrames, kMaxUnitFrames);
    OSStatus status =
        unit->SetSampleRateAndChannels(sampleRate, descriptor.channels, descriptor.channels);
    if (status == noErr) {
        status = unit->SetMaxFramesPerSlice(unitMaxFrames);
    }
    if (status == noErr) {
        status = unit->DoInitialize();
    }
    if (status != noErr) {
        LogOnce(loggedActivation, "the unit refused to initialise (" + std::to_string(status) +
                                      ") at " + std::to_string(sampleRate) + " Hz");
        return false;
    }
    latencyFrames = static_cast<UInt32>(std::lround(unit->GetLatency() * sampleRate));
    active = true;
    return true;
}

void PluginCore::Deactivate() {
    if (unit && unit->IsInitialized()) {
        unit->DoCleanup();
    }
    active = false;
}

void PluginCore::PassThrough(const float* const* inputs, float* const* outputs, UInt32 frames) {
    if (outputs == nullptr) {
        return;
    }
    for (UInt32 c = 0; c < descriptor.channels; ++c) {
        float* out = outputs[c];
        if (out == nullptr) {
            continue;
        }
        const float* in = inputs != nullptr ? inputs[c] : nullptr;
        if (in == nullptr) {
            std::memset(out, 0, frames * sizeof(float));
        } else if (in != out) {
            std::memmove(out, in, frames * sizeof(float));
        }
    }
}

void PluginCore::Process(const float* const* inputs, float* const* outputs, UInt32 frames,
                         OwnChangeSink* sink) {
    if (active) {
        ApplyQueued(sink);
    }
    if (frames == 0) {
        return;
    }
    bool usable = active && inputs != nullptr && outputs != nullptr;
    for (UInt32 c = 0; usable && c < descriptor.channels; ++c) {
        usable = inputs[c] != nullptr && outputs[c] != nullptr;
    }
    if (!usable) {
        PassThrough(inputs, outputs, frames);
        return;
    }
    const UInt32 channels = descriptor.channels;
    std::array<const float*, kMaxChannels> in{};
    std::array<float*, kMaxChannels> out{};
    for (UInt32 done = 0; done < frames;) {
        const UInt32 n = std::min(frames - done, unitMaxFrames);
        for (UInt32 c = 0; c < channels; ++c) {
            in[c] = inputs[c] + done;
            out[c] = outputs[c] + done;
        }
        AudioUnitRenderActionFlags flags = 0;
        const OSStatus status =
            unit->Render(flags, n, std::span<const float* const>(in.data(), channels),
                         std::span<float* const>(out.data(), channels));
        if (status != noErr) {
            refusedBlocks.fetch_add(1, std::memory_order_relaxed);
            PassThrough(in.data(), out.data(), n);
        }
        done += n;
    }
    processedBlocks.store(processedBlocks.load(std::memory_order_relaxed) + 1,
                          std::memory_order_release);
}

std::string PluginCore::SaveState() const {
    return unit ? unit->SaveState() : std::string();
}

bool PluginCore::RestoreState(std::string_view document) {
    if (!unit) {
        return false;
    }
    if (document.empty()) {
        LogOnce(loggedState, "refusing an empty saved state");
        return false;
    }
    std::string error;
    if (unit->RestoreState(document, &error) != noErr) {
        LogOnce(loggedState, error.empty() ? "refusing a saved state" : error);
        return false;
    }
    return true;
}

bool PluginCore::IsAcceptableState(const UnitDescriptor& d, std::string_view document) {
    if (d.open == nullptr || document.empty()) {
        return false;
    }
    AudioUnitPtr scratch = d.open();
    return scratch && scratch->RestoreState(document) == noErr;
}

} // namespace zkplug
