#pragma once

// Streams a source through a hosted unit into a sink, block by block, with the
// unit's latency removed (output aligned with input, same length) unless kept.
#include "cli/HostedUnit.h"
#include "cli/OutputMeters.h"

#include <cstdint>
#include <functional>
#include <optional>

namespace zkcli {

// Planar float audio arriving in blocks.
class BlockSource {
public:
    virtual ~BlockSource() = default;
    virtual unsigned Channels() const = 0;
    virtual double SampleRate() const = 0;
    virtual std::uint64_t TotalFrames() const = 0; // 0 when unknown
    // What the source promised (a file's header), when that can differ from what it
    // delivers; 0 when unknown.
    virtual std::uint64_t AnnouncedFrames() const { return TotalFrames(); }
    // Fills up to `frames` frames of each channel; returns how many (0 at the end).
    virtual unsigned Read(float* const* channels, unsigned frames) = 0;
};

class BlockSink {
public:
    virtual ~BlockSink() = default;
    virtual void Write(const float* const* channels, unsigned frames) = 0;
};

struct RenderOptions {
    unsigned blockFrames = 512;
    bool compensateLatency = true;
    std::optional<AudioUnitParameterID> listen; // gesture held from the first block
};

struct RenderStats {
    std::uint64_t inputFrames = 0;
    std::uint64_t outputFrames = 0;
    unsigned latencyFrames = 0;
    // The source's promised length (a file's header); 0 when it does not say. A
    // source that ends early has inputFrames below it.
    std::uint64_t announcedFrames = 0;
    float inputPeak = 0.0f; // absolute, over all channels
    float outputPeak = 0.0f;
    // Input samples that were NaN or infinite, replaced by silence before the unit
    // saw them; the first one's frame (from 0) and source channel (from 0).
    std::uint64_t nonFiniteSamples = 0;
    std::uint64_t firstNonFiniteFrame = 0;
    unsigned firstNonFiniteChannel = 0;
    MeterSummary meters; // read after every block
};

// Called after each block with frames consumed so far.
using ProgressFunction = std::function<void(std::uint64_t done, std::uint64_t total)>;

// The unit must be set up (settings applied, reset) and run at the source's rate.
// A mono source feeding a unit with more channels is copied onto every channel.
// Input samples that are not finite become silence (counted in the stats): one
// would otherwise fill the rest of its block, on every channel, with NaN.
RenderStats RenderStream(HostedUnit& unit, BlockSource& source, BlockSink& sink,
                         const RenderOptions& options, const ProgressFunction& progress = {});

} // namespace zkcli
