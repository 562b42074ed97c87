#include "cli/RenderDriver.h"

#include "cli/CliError.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace zkcli {

namespace {

float Peak(const std::vector<std::vector<float>>& buffers, unsigned channels, unsigned from,
           unsigned to, float peak) {
    for (unsigned c = 0; c < channels; ++c) {
        for (unsigned i = from; i < to; ++i) {
            peak = std::max(peak, std::fabs(buffers[c][i]));
        }
    }
    return peak;
}

// Silences the non-finite samples of a block read at `position`; counts them and
// keeps the first one's place.
void SilenceNonFinite(const std::vector<float*>& channels, unsigned frames, std::uint64_t position,
                      RenderStats& stats) {
    for (unsigned i = 0; i < frames; ++i) {
        for (unsigned c = 0; c < channels.size(); ++c) {
            float& v = channels[c][i];
            if (!std::isfinite(v)) {
                if (stats.nonFiniteSamples++ == 0) {
                    stats.firstNonFiniteFrame = position + i;
                    stats.firstNonFiniteChannel = c;
                }
                v = 0.0f;
            }
        }
    }
}

} // namespace

RenderStats RenderStream(HostedUnit& unit, BlockSource& source, BlockSink& sink,
                         const RenderOptions& options, const ProgressFunction& progress) {
    const unsigned channels = unit.Channels();
    const unsigned sourceChannels = source.Channels();
    if (sourceChannels != channels && sourceChannels != 1) {
        throw CliError("cannot feed " + std::to_string(sourceChannels) + " channels into " +
                       std::to_string(channels));
    }
    const unsigned block = std::min(options.blockFrames, unit.MaxFrames());
    if (block == 0) {
        throw CliError("the block size must be at least 1 frame");
    }

    // Every buffer is made here; the loop below only reuses them.
    std::vector<std::vector<float>> in(channels, std::vector<float>(block));
    std::vector<std::vector<float>> out(channels, std::vector<float>(block));
    std::vector<float*> readPtrs(sourceChannels), inPtrs(channels), outPtrs(channels);
    std::vector<const float*> inConst(channels), writePtrs(channels);
    for (unsigned c = 0; c < channels; ++c) {
        inPtrs[c] = in[c].data();
        inConst[c] = in[c].data();
        outPtrs[c] = out[c].data();
    }
    for (unsigned c = 0; c < sourceChannels; ++c) {
        readPtrs[c] = in[c].data();
    }

    RenderStats stats;
    stats.announcedFrames = source.AnnouncedFrames();
    stats.latencyFrames = options.compensateLatency ? unit.LatencyFrames() : 0;
    if (options.listen) {
        unit.BeginGesture(*options.listen);
    }
    std::uint64_t toSkip = stats.latencyFrames; // leading output frames dropped
    std::uint64_t tail = stats.latencyFrames;   // zero frames fed after the input
    OutputMeters meters(unit);
    const std::uint64_t total = source.TotalFrames();
    bool inputDone = false;
    while (!inputDone || tail > 0) {
        unsigned frames = 0;
        if (!inputDone) {
            frames = source.Read(readPtrs.data(), block);
            if (frames == 0) {
                inputDone = true;
                continue;
            }
            SilenceNonFinite(readPtrs, frames, stats.inputFrames, stats);
            for (unsigned c = sourceChannels; c < channels; ++c) {
                std::copy_n(in[0].begin(), frames, in[c].begin());
            }
            stats.inputPeak = Peak(in, channels, 0, frames, stats.inputPeak);
            stats.inputFrames += frames;
        } else {
            frames = static_cast<unsigned>(std::min<std::uint64_t>(tail, block));
            for (unsigned c = 0; c < channels; ++c) {
                std::fill_n(in[c].begin(), frames, 0.0f);
            }
            tail -= frames;
        }
        unit.Render(inConst.data(), outPtrs.data(), frames);
        meters.AfterBlock(frames);
        const unsigned skip = static_cast<unsigned>(std::min<std::uint64_t>(toSkip, frames));
        toSkip -= skip;
        if (skip < frames) {
            for (unsigned c = 0; c < channels; ++c) {
                writePtrs[c] = out[c].data() + skip;
            }
            sink.Write(writePtrs.data(), frames - skip);
            stats.outputPeak = Peak(out, channels, skip, frames, stats.outputPeak);
            stats.outputFrames += frames - skip;
        }
        if (progress && !inputDone) {
            progress(stats.inputFrames, total);
        }
    }
    stats.meters = meters.Summary();
    return stats;
}

} // namespace zkcli
