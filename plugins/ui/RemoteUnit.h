#pragma once

// The editor's unit handle inside a plug-in UI. The DSP side may run in another
// process, so the remote unit holds no pointer to it: it mirrors the parameter
// values the host reports, sends the editor's changes and gestures back through
// the host, and answers parameter information from the unit's table.
//
//   host value  -> HostParameterChanged: store + value-change event to the view
//   editor set  -> AUParameterSet: store; the next Pump sends it to the host
//   gesture     -> AUEventListenerNotify: the next Pump sends it to the host
//                  (EditParameter) and to the DSP side (an editor event), whose
//                  unit starts or ends auto-listen
//   65536 set   -> an editor event to the DSP side
//   65537       <- the DSP's auto-listen output parameter; a change is announced
//                  as a property change
//
// The editor's edits go out through a listener of the remote unit's own, on a
// pumped run loop, so the host sees begin, values and end in the editor's order.
// Everything runs on the UI thread.

#include "framework/AUBase.h"
#include "framework/AUEvents.h"
#include "framework/RunLoop.h"
#include "plugins/core/EditorLink.h"
#include "plugins/core/UnitDescriptor.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zkplug {

// What the remote unit needs from the plug-in UI: DPF's UI calls in the plug-ins.
// Indices are the host's parameter indices (table order).
class RemoteHost {
public:
    virtual ~RemoteHost() = default;
    virtual void SetParameterValue(std::uint32_t index, float value) = 0;
    virtual void EditParameter(std::uint32_t index, bool started) = 0;
    virtual void SendEditorEvent(const std::string& message) = 0;
    // A state value of the plug-in (the spectrum analyser's settings and ring request).
    virtual void SendState(const char* /*key*/, const std::string& /*value*/) {}
};

class RemoteSpectrum;

class RemoteUnit : public AUBase {
public:
    RemoteUnit(const UnitDescriptor& descriptor, RemoteHost& host);
    ~RemoteUnit() override;

    std::optional<std::uint32_t> IndexOf(AudioUnitParameterID id) const;

    // A value the host reports for a host parameter index. A parameter the editor
    // holds in a gesture keeps the editor's value (hosts echo changes late).
    void HostParameterChanged(std::uint32_t index, float value);
    void SetHostSampleRate(double sampleRate);
    // A state value the host reports (the spectrum analyser's settings).
    void HostStateChanged(const char* key, const char* value);
    // Sends the editor's pending changes and gestures to the host and the DSP.
    void Pump();
    bool IsInGesture(AudioUnitParameterID id) const;

    OSStatus SetParameter(AudioUnitParameterID id, AudioUnitScope scope, AudioUnitElement element,
                          AudioUnitParameterValue value, UInt32 bufferOffsetInFrames) override;
    OSStatus GetParameterInfo(AudioUnitScope scope, AudioUnitParameterID id,
                              AudioUnitParameterInfo& outInfo) override;
    OSStatus GetParameterValueStrings(AudioUnitScope scope, AudioUnitParameterID id,
                                      std::vector<std::string>* outStrings) override;
    OSStatus GetPropertyInfo(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                             UInt32& outDataSize, Boolean& outWritable) override;
    OSStatus GetProperty(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                         void* outData) override;
    OSStatus SetProperty(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                         const void* inData, UInt32 inDataSize) override;

private:
    static void Forward(void* refCon, void* object, const AudioUnitEvent* event, UInt64 hostTime,
                        AudioUnitParameterValue value);
    void OnEditorEvent(const AudioUnitEvent& event, AudioUnitParameterValue value);
    const zk::ParameterDef* Input(AudioUnitParameterID id) const;

    const UnitDescriptor& descriptor;
    RemoteHost& host;
    std::vector<bool> output;           // by table index: a meter
    std::vector<std::uint32_t> indexOf; // by parameter id; kNoIndex when none
    std::vector<int> gestures;          // by parameter id: begins not yet ended
    AutoListenState autoListen;
    bool textBox = false;
    std::shared_ptr<CFRunLoop> loop;
    AUEventListenerRef listener = nullptr;
    std::unique_ptr<RemoteSpectrum> spectrum;
};

} // namespace zkplug
