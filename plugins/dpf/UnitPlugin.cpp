// The DPF plug-in of one unit: a thin adapter from DPF's Plugin interface to
// PluginCore. Which unit and identity it has comes from DistrhoPluginInfo.h,
// generated per plug-in.

#include "DistrhoPlugin.hpp"
#include "plugins/core/EditorLink.h"
#include "plugins/core/PluginCore.h"
#include "plugins/core/ProcessReport.h"
#include "plugins/core/SpectrumTap.h"

#include <cstring>
#include <memory>
#include <string>
#include <type_traits>

START_NAMESPACE_DISTRHO

namespace {

// The state key under which hosts save the class-information document.
constexpr const char* kStateKey = "ClassInfo";

class UnitPlugin : public Plugin, private zkplug::OwnChangeSink {
public:
    explicit UnitPlugin(const zkplug::UnitDescriptor& d)
        : Plugin(zkplug::HostParameterCount(d), 0, 2), core(d), tap(d.channels),
          bypassIndex(zkplug::BypassIndex(d)), autoListenIndex(zkplug::AutoListenIndex(d)) {}

protected:
    const char* getLabel() const override { return ZK_PLUGIN_LABEL; }
    const char* getDescription() const override {
        return "Studio equaliser in double precision with auto-listen";
    }
    const char* getMaker() const override { return "Zkmorva"; }
    const char* getLicense() const override { return "Proprietary"; }
    uint32_t getVersion() const override { return ZK_PLUGIN_VERSION; }
    int64_t getUniqueId() const override { return ZK_PLUGIN_UNIQUE_ID; }

    void initAudioPort(bool input, uint32_t index, AudioPort& port) override {
        port.groupId = DISTRHO_PLUGIN_NUM_INPUTS == 1 ? kPortGroupMono : kPortGroupStereo;
        Plugin::initAudioPort(input, index, port);
    }

    void initParameter(uint32_t index, Parameter& parameter) override {
        if (index == bypassIndex) {
            parameter.initDesignation(kParameterDesignationBypass);
            return;
        }
        if (index == autoListenIndex) {
            // The editor's auto-listen display, published for a UI that may run elsewhere.
            parameter.name = "Auto-listen display";
            parameter.symbol = "auto_listen_display";
            parameter.ranges = ParameterRanges(0.0f, 0.0f, zkplug::kMaxAutoListenValue);
            parameter.hints = kParameterIsOutput | kParameterIsInteger;
            return;
        }
        const auto& all = core.Parameters();
        if (index >= all.size()) {
            return;
        }
        const zkplug::HostParameter& p = all[index];
        parameter.name = p.name.c_str();
        parameter.symbol = p.symbol.c_str();
        parameter.unit = p.unitLabel.c_str();
        parameter.ranges = ParameterRanges(p.defaultValue, p.minValue, p.maxValue);
        uint32_t hints = 0;
        if (p.output) {
            hints |= kParameterIsOutput;
        } else if (p.automatable) {
            hints |= kParameterIsAutomatable;
        }
        if (p.boolean) {
            hints |= kParameterIsBoolean;
        }
        if (p.integer) {
            hints |= kParameterIsInteger;
        }
        if (p.logarithmic) {
            hints |= kParameterIsLogarithmic;
        }
        parameter.hints = hints;
        if (!p.scalePoints.empty() && p.scalePoints.size() < 256) {
            auto* values = new ParameterEnumerationValue[p.scalePoints.size()];
            for (std::size_t i = 0; i < p.scalePoints.size(); ++i) {
                values[i].value = p.scalePoints[i].value;
                values[i].label = p.scalePoints[i].label.c_str();
            }
            parameter.enumValues.count = static_cast<uint8_t>(p.scalePoints.size());
            parameter.enumValues.restrictedMode = p.enumeration;
            parameter.enumValues.values = values;
        }
    }

    void initState(uint32_t index, State& state) override {
        if (index == 0) {
            state.key = kStateKey;
            state.label = "Settings";
            state.hints = kStateIsOnlyForDSP;
        } else if (index == 1) {
            // The editor's spectrum analyser: saved, and given to the UI on restore.
            state.key = zkplug::kSpectrumStateKey;
            state.label = "Spectrum analyser";
            state.defaultValue = zk::FormatSpectrumSettings({}).c_str();
        }
    }

    float getParameterValue(uint32_t index) const override {
        if (index == bypassIndex) {
            return core.IsBypassed() ? 1.0f : 0.0f;
        }
        if (index == autoListenIndex) {
            return core.AutoListenDisplayValue();
        }
        return core.GetParameter(index);
    }

    void setParameterValue(uint32_t index, float value) override {
        if (index == bypassIndex) {
            core.SetBypass(value > 0.5f);
            return;
        }
        core.SetParameter(index, value);
    }

    String getState(const char* key) const override {
        if (key != nullptr && std::strcmp(key, zkplug::kSpectrumStateKey) == 0) {
            return String(tap.SavedSettings().c_str());
        }
        if (key == nullptr || std::string(key) != kStateKey) {
            return String();
        }
        return String(core.SaveState().c_str());
    }

    void setState(const char* key, const char* value) override {
        if (key == nullptr || value == nullptr) {
            return;
        }
        // The UI's gestures and text-box flag, never saved (not a declared state).
        if (std::strcmp(key, zkplug::kEditorEventKey) == 0) {
            core.HandleEditorEvent(value);
            return;
        }
        if (std::strcmp(key, zkplug::kSpectrumTapKey) == 0) {
            tap.Publish(value);
            return;
        }
        if (std::strcmp(key, zkplug::kSpectrumStateKey) == 0) {
            tap.RestoreSettings(value);
            return;
        }
        if (std::strcmp(key, kStateKey) != 0) {
            return;
        }
        core.RestoreState(value);
    }

    void activate() override {
        core.Activate(getSampleRate(), getBufferSize());
        setLatency(core.LatencyFrames());
        // LV2 hosts with the change-request extension and the JACK app take them.
        changeRequestsReachHost = canRequestParameterValueChanges();
    }

    void deactivate() override { core.Deactivate(); }

    // CLAP and VST3 wrappers install a report and turn it into output events.
    void run(const float** inputs, float** outputs, uint32_t frames) override {
        report = zkplug::CurrentProcessReport();
        const bool reachHost = report != nullptr || changeRequestsReachHost;
        tap.CaptureInputs(inputs, frames); // before: the buffers may be shared
        core.Process(inputs, outputs, frames, reachHost ? this : nullptr);
        tap.CaptureOutputs(outputs);
    }

    void ParameterSetByUnit(std::uint32_t index, float value) override {
        if (report != nullptr) {
            report->Add(index, value);
        } else {
            requestParameterValueChange(index, value);
        }
    }

private:
    zkplug::PluginCore core;
    zkplug::ProcessReport* report = nullptr; // during run() only
    bool changeRequestsReachHost = false;
    zkplug::SpectrumTap tap;
    const uint32_t bypassIndex;
    const uint32_t autoListenIndex;
};

} // namespace

Plugin* createPlugin() {
    return new UnitPlugin(zkplug::ZK_PLUGIN_UNIT());
}

END_NAMESPACE_DISTRHO

// Exported by the LV2 audio module (plugins/dpf/lv2-dsp.version): the table of
// published rings lives in this module, and the UI module asks it here.
extern "C" __attribute__((visibility("default"))) SampleRing*
zkmorva_find_spectrum_ring(std::uint64_t token) {
    return zkplug::SpectrumTap::FindRing(token);
}
static_assert(std::is_same_v<decltype(&zkmorva_find_spectrum_ring), zkplug::FindRingFunction>);
