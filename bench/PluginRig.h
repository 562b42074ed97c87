#pragma once

// A plug-in as a host runs it, for the plug-in suites: the format-independent
// core of one of our plug-ins at 48 kHz, stereo float noise of its own, blocks
// of a host's length, and after every block every output (meter) read, as LV2
// hosts read their output ports.
#include "BenchSupport.h"
#include "UnitSettings.h"
#include "plugins/core/PluginCore.h"
#include "plugins/core/UnitDescriptor.h"

#include <string>
#include <vector>

namespace zkbench {

inline constexpr double kPluginRate = 48000.0;

// The configurations the plug-in suites time.
enum class PluginSetup { Zkmorva20All, Zkmorva20Flat, Zkmorva10StereoAll, Zkmorva10StereoFlat };
inline constexpr PluginSetup kPluginSetups[] = {
    PluginSetup::Zkmorva20All, PluginSetup::Zkmorva20Flat, PluginSetup::Zkmorva10StereoAll,
    PluginSetup::Zkmorva10StereoFlat};

inline std::string SetupName(PluginSetup s) {
    switch (s) {
    case PluginSetup::Zkmorva20All:
        return "Zkmorva20/all";
    case PluginSetup::Zkmorva20Flat:
        return "Zkmorva20/flat";
    case PluginSetup::Zkmorva10StereoAll:
        return "Zkmorva10Stereo/all";
    default:
        return "Zkmorva10Stereo/flat";
    }
}

class PluginRig {
public:
    PluginRig(PluginSetup setup, UInt32 block, std::uint32_t seed = 1)
        : core(setup == PluginSetup::Zkmorva20All || setup == PluginSetup::Zkmorva20Flat
                   ? zkplug::Zkmorva20()
                   : zkplug::Zkmorva10Stereo()),
          block(block), frames(static_cast<long>(block) * std::max(64L, 8192L / block)) {
        core.Activate(kPluginRate, block);
        if (setup == PluginSetup::Zkmorva20All) {
            SetAllActive20(*this);
        } else if (setup == PluginSetup::Zkmorva10StereoAll) {
            SetAllActive10(*this);
        }
        for (int ch = 0; ch < 2; ++ch) {
            const std::vector<double> n = Noise(frames, seed + static_cast<std::uint32_t>(ch));
            in[ch].assign(n.begin(), n.end());
            out[ch].resize(in[ch].size());
        }
        for (std::size_t i = 0; i < core.Parameters().size(); ++i) {
            if (core.Parameters()[i].output) {
                outputs.push_back(i);
            }
        }
    }

    // A host's change by parameter id.
    void Set(AudioUnitParameterID id, float value) { core.SetParameter(IndexOf(id), value); }
    std::size_t IndexOf(AudioUnitParameterID id) const {
        for (std::size_t i = 0; i < core.Parameters().size(); ++i) {
            if (core.Parameters()[i].id == id) {
                return i;
            }
        }
        return core.Parameters().size();
    }

    // One block through the plug-in, then every output read.
    void RunBlock(zkplug::OwnChangeSink* sink = nullptr) {
        const float* i[2] = {in[0].data() + pos, in[1].data() + pos};
        float* o[2] = {out[0].data() + pos, out[1].data() + pos};
        core.Process(i, o, block, sink);
        for (std::size_t index : outputs) {
            meters += core.GetParameter(index);
        }
        benchmark::DoNotOptimize(o[0][0]);
        pos = (pos + block) % frames;
    }

    zkplug::PluginCore core;
    const UInt32 block;
    float meters = 0.0f; // what the reads returned, kept so that they stay

private:
    const long frames;
    std::vector<float> in[2], out[2];
    std::vector<std::size_t> outputs;
    long pos = 0;
};

} // namespace zkbench
