#include "plugins/core/EditorLink.h"

#include <charconv>
#include <cmath>

namespace zkplug {

namespace {

constexpr std::string_view kBegin = "begin ";
constexpr std::string_view kEnd = "end ";
constexpr std::string_view kTextBox = "textbox";

std::optional<AudioUnitParameterID> ParseId(std::string_view digits) {
    AudioUnitParameterID id = 0;
    const char* last = digits.data() + digits.size();
    const auto [end, error] = std::from_chars(digits.data(), last, id);
    if (digits.empty() || error != std::errc() || end != last) {
        return std::nullopt;
    }
    return id;
}

} // namespace

std::string FormatEditorEvent(const EditorEvent& event) {
    switch (event.kind) {
    case EditorEvent::Kind::BeginGesture:
        return std::string(kBegin) + std::to_string(event.id);
    case EditorEvent::Kind::EndGesture:
        return std::string(kEnd) + std::to_string(event.id);
    case EditorEvent::Kind::TextBox:
        break;
    }
    return std::string(kTextBox);
}

std::optional<EditorEvent> ParseEditorEvent(std::string_view text) {
    if (text == kTextBox) {
        return EditorEvent{EditorEvent::Kind::TextBox, 0};
    }
    for (const auto& [prefix, kind] : {std::pair{kBegin, EditorEvent::Kind::BeginGesture},
                                       std::pair{kEnd, EditorEvent::Kind::EndGesture}}) {
        if (text.starts_with(prefix)) {
            if (const auto id = ParseId(text.substr(prefix.size()))) {
                return EditorEvent{kind, *id};
            }
            return std::nullopt;
        }
    }
    return std::nullopt;
}

float EncodeAutoListen(AutoListenState state) {
    const SInt32 id =
        state.parameterId < 0
            ? 0
            : (state.parameterId > kMaxAutoListenId ? kMaxAutoListenId : state.parameterId);
    return static_cast<float>(id * 2 + (state.on ? 1 : 0));
}

AutoListenState DecodeAutoListen(float value) {
    if (!std::isfinite(value) || value < 0.0f || value >= kMaxAutoListenValue + 0.5f) {
        return {};
    }
    const auto n = static_cast<SInt32>(std::lround(value));
    return {(n & 1) != 0, n / 2};
}

} // namespace zkplug
