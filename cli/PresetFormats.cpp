#include "cli/PresetFormats.h"

#include "cli/CliError.h"
#include "cli/PresetFormatsDetail.h"

#include <cctype>
#include <charconv>

namespace zkcli {

namespace presetformats {

void Fail(const std::string& source, const std::string& what) {
    throw CliError("preset " + source + " " + what);
}

std::optional<float> ParseNumber(std::string_view text) {
    float v = 0.0f;
    const char* end = text.data() + text.size();
    const char* first = text.data();
    if (first != end && *first == '+') {
        ++first;
    }
    const auto [ptr, ec] = std::from_chars(first, end, v);
    if (ec != std::errc() || ptr != end) {
        return std::nullopt;
    }
    return v;
}

} // namespace presetformats

namespace {

bool StartsWith(std::string_view s, std::string_view prefix) {
    return s.substr(0, prefix.size()) == prefix;
}

} // namespace

const char* PresetFormatName(PresetFormat format) {
    switch (format) {
    case PresetFormat::AuPreset:
        return "aupreset";
    case PresetFormat::Lv2:
        return "lv2";
    case PresetFormat::StateBlob:
        return "state";
    case PresetFormat::VstPreset:
        return "vstpreset";
    }
    return "?";
}

PresetFormat ChoosePresetFormat(std::string_view name, std::string_view path) {
    static constexpr std::pair<const char*, PresetFormat> kNames[] = {
        {"aupreset", PresetFormat::AuPreset},
        {"lv2", PresetFormat::Lv2},
        {"ttl", PresetFormat::Lv2},
        {"state", PresetFormat::StateBlob}};
    if (!name.empty()) {
        for (const auto& [n, f] : kNames) {
            if (name == n) {
                return f;
            }
        }
        throw CliError("unknown preset format \"" + std::string(name) +
                       "\" (known: aupreset, lv2, state)");
    }
    const std::size_t dot = path.rfind('.');
    const std::string_view extension =
        dot == std::string_view::npos ? std::string_view() : path.substr(dot + 1);
    for (const auto& [n, f] : kNames) {
        if (extension == n) {
            return f;
        }
    }
    throw CliError("cannot tell the preset format of " + std::string(path) +
                   " from its extension (.aupreset, .ttl or .state; or give --format)");
}

PresetFile DecodePresetFile(std::string_view bytes, const std::string& source) {
    if (bytes.empty()) {
        presetformats::Fail(source, "is empty");
    }
    if (StartsWith(bytes, "__dpf_")) {
        return presetformats::DecodeStateBlob(bytes, source);
    }
    if (StartsWith(bytes, "VST3")) {
        return presetformats::DecodeVstPreset(bytes, source);
    }
    if (bytes.find('\0') != std::string_view::npos) {
        presetformats::Fail(
            source, "is not a preset document (not an .aupreset, an LV2 preset or a plug-in "
                    "state)");
    }
    std::string_view head = bytes;
    while (!head.empty() && std::isspace(static_cast<unsigned char>(head.front()))) {
        head.remove_prefix(1);
    }
    if (StartsWith(head, "<?xml") || StartsWith(head, "<!DOCTYPE") || StartsWith(head, "<plist")) {
        PresetFile file;
        file.document = std::string(bytes);
        return file;
    }
    return presetformats::DecodeTurtle(bytes, source);
}

} // namespace zkcli
