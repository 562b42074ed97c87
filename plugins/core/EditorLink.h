#pragma once

// What the plug-in UI and the DSP side tell each other beyond parameter values.
// They may live in separate processes, so everything is a DPF state message (UI to
// DSP) or an output parameter (DSP to UI):
//
//   UI -> DSP  key kEditorEventKey, value "begin <id>", "end <id>" or "textbox":
//              a gesture of the editor on parameter <id> (the unit's id), or the
//              editor's text box became the current control (property 65536).
//              The key is never declared as a state, so hosts never save it.
//   DSP -> UI  the output parameter after the bypass: the unit's auto-listen
//              display (property 65537) as one integer value, id * 2 + on.

#include "framework/Types.h"
#include "plugins/core/UnitDescriptor.h"

#include <cstdint>

#include <optional>
#include <string>
#include <string_view>

namespace zkplug {

inline constexpr const char* kEditorEventKey = "EditorEvent";

// The host's parameters: the table's rows in order, then the bypass, then the
// auto-listen display.
inline std::uint32_t BypassIndex(const UnitDescriptor& d) {
    return static_cast<std::uint32_t>(d.parameters.size());
}
inline std::uint32_t AutoListenIndex(const UnitDescriptor& d) {
    return BypassIndex(d) + 1;
}
inline std::uint32_t HostParameterCount(const UnitDescriptor& d) {
    return AutoListenIndex(d) + 1;
}

struct EditorEvent {
    enum class Kind { BeginGesture, EndGesture, TextBox };
    Kind kind = Kind::TextBox;
    AudioUnitParameterID id = 0; // gestures only
};

std::string FormatEditorEvent(const EditorEvent& event);
// None for anything but the three forms above. Never allocates.
std::optional<EditorEvent> ParseEditorEvent(std::string_view text);

struct AutoListenState {
    bool on = false;
    SInt32 parameterId = 0;
};

// Parameter ids of our units are small, so the value stays an exact integer.
float EncodeAutoListen(AutoListenState state);
// Rounds; values out of [0, 2 * kMaxAutoListenId + 1] or not finite read as off, id 0.
AutoListenState DecodeAutoListen(float value);
inline constexpr SInt32 kMaxAutoListenId = 4095;
inline constexpr float kMaxAutoListenValue = 2.0f * kMaxAutoListenId + 1.0f;

} // namespace zkplug
