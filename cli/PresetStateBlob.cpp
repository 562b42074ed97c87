// The plug-ins' state blob (DPF's NUL-separated key/value strings, as CLAP and VST3
// hosts save it) and the .vstpreset file that carries it.
#include "cli/PresetFormats.h"

#include "cli/PresetFormatsDetail.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace zkcli {

namespace {

// ---- .vstpreset: "VST3", version, class id, the offset of a chunk list; the
// component state ("Comp") is one of the chunks. Integers little-endian.

void PutLittle(std::string& out, std::uint64_t v, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        out += static_cast<char>((v >> (8 * i)) & 0xff);
    }
}

std::uint64_t GetLittle(std::string_view in, std::size_t at, int bytes) {
    std::uint64_t v = 0;
    for (int i = bytes - 1; i >= 0; --i) {
        v = (v << 8) | static_cast<unsigned char>(in[at + static_cast<std::size_t>(i)]);
    }
    return v;
}

constexpr std::size_t kVstHeader = 4 + 4 + 32 + 8;

} // namespace

namespace presetformats {

// NUL-terminated strings, "\xfe" last.
PresetFile DecodeStateBlob(std::string_view bytes, const std::string& source) {
    std::vector<std::string_view> tokens;
    for (std::size_t pos = 0; pos < bytes.size();) {
        const std::size_t end = bytes.find('\0', pos);
        if (end == std::string_view::npos) {
            tokens.push_back(bytes.substr(pos));
            break;
        }
        tokens.push_back(bytes.substr(pos, end - pos));
        pos = end + 1;
    }
    const auto terminator = std::find(tokens.begin(), tokens.end(), "\xfe");
    if (terminator == tokens.end()) {
        Fail(source, "is a truncated plug-in state (no end marker)");
    }
    PresetFile file;
    file.format = PresetFormat::StateBlob;
    bool haveDocument = false;
    enum class Section { None, State, Parameters } section = Section::None;
    for (auto it = tokens.begin(); it != terminator; ++it) {
        const std::string_view t = *it;
        if (t == "__dpf_state_begin__" || t == "__dpf_parameters_begin__") {
            section = t == "__dpf_state_begin__" ? Section::State : Section::Parameters;
            continue;
        }
        if (t == "__dpf_state_end__" || t == "__dpf_parameters_end__") {
            section = Section::None;
            continue;
        }
        if (t == "__dpf_program__" && it + 1 != terminator) {
            ++it;
            continue;
        }
        if (section == Section::None || it + 1 == terminator) {
            Fail(source,
                 "is not a plug-in state: unexpected \"" + std::string(t.substr(0, 40)) + "\"");
        }
        const std::string_view value = *++it;
        if (section == Section::State) {
            if (t == kStateKey) {
                file.document = std::string(value);
                haveDocument = true;
            }
            continue;
        }
        const std::optional<float> v = ParseNumber(value);
        if (!v) {
            Fail(source, "gives parameter \"" + std::string(t) + "\" the value \"" +
                             std::string(value.substr(0, 40)) + "\", not a number");
        }
        file.ports.emplace_back(std::string(t), *v);
    }
    if (!haveDocument) {
        Fail(source, "is a plug-in state without our \"" + std::string(kStateKey) +
                         "\" settings (another plug-in's?)");
    }
    return file;
}

PresetFile DecodeVstPreset(std::string_view bytes, const std::string& source) {
    if (bytes.size() < kVstHeader) {
        Fail(source, "is a truncated VST3 preset (no complete header)");
    }
    const std::uint64_t list = GetLittle(bytes, 40, 8);
    if (list > bytes.size() || bytes.size() - list < 8 || bytes.substr(list, 4) != "List") {
        Fail(source, "is a truncated VST3 preset (its chunk list is missing)");
    }
    const std::uint64_t count = GetLittle(bytes, list + 4, 4);
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::size_t entry = list + 8 + i * 20;
        if (entry + 20 > bytes.size()) {
            Fail(source, "is a truncated VST3 preset (its chunk list is cut)");
        }
        const std::uint64_t offset = GetLittle(bytes, entry + 4, 8);
        const std::uint64_t size = GetLittle(bytes, entry + 12, 8);
        if (bytes.substr(entry, 4) == "Comp") {
            if (offset > bytes.size() || size > bytes.size() - offset) {
                Fail(source, "is a truncated VST3 preset (its state is cut)");
            }
            PresetFile file = DecodeStateBlob(bytes.substr(offset, size), source);
            file.format = PresetFormat::VstPreset;
            return file;
        }
    }
    Fail(source, "is a VST3 preset without a component state");
}

} // namespace presetformats

std::string StateBlob(std::span<const PortValue> ports, std::string_view document) {
    std::string out = "__dpf_state_begin__";
    out += '\0';
    out += kStateKey;
    out += '\0';
    out += document;
    out += '\0';
    out += "__dpf_state_end__";
    out += '\0';
    out += "__dpf_parameters_begin__";
    out += '\0';
    auto add = [&out](std::string_view symbol, std::string_view value) {
        out += symbol;
        out += '\0';
        out += value;
        out += '\0';
    };
    for (const auto& [def, v] : ports) {
        const bool integer = def->unit == kAudioUnitParameterUnit_Boolean ||
                             def->unit == kAudioUnitParameterUnit_Indexed;
        // As DPF prints them: switches as integers, others to twelve digits (every
        // float exact), never with a locale's decimal comma.
        char buf[48];
        const auto [end, ec] = integer
                                   ? std::to_chars(buf, buf + sizeof buf, std::lround(v))
                                   : std::to_chars(buf, buf + sizeof buf, static_cast<double>(v),
                                                   std::chars_format::general, 12);
        add(def->symbol, std::string_view(buf, ec == std::errc() ? end - buf : 0));
    }
    add(kBlobBypassSymbol, "0");
    out += "__dpf_parameters_end__";
    out += '\0';
    out += '\xfe';
    out += '\0';
    return out;
}

std::string VstPresetFile(std::string_view classId, std::string_view state) {
    std::string out = "VST3";
    PutLittle(out, 1, 4);
    out += classId;
    const std::uint64_t list = kVstHeader + state.size();
    PutLittle(out, list, 8);
    out += state;
    out += "List";
    PutLittle(out, 1, 4);
    out += "Comp";
    PutLittle(out, kVstHeader, 8);
    PutLittle(out, state.size(), 8);
    return out;
}

std::string DpfVst3ClassId(std::string_view uniqueId) {
    // DPF's class id: 'DPF ', 'clas', the unique id, 0, as 32-bit words in the
    // machine's (little-endian) byte order, written as the bytes' hex digits.
    std::string bytes = " FPDsalc";
    for (auto it = uniqueId.rbegin(); it != uniqueId.rend(); ++it) {
        bytes += *it;
    }
    bytes.append(4, '\0');
    std::string hex;
    for (char c : bytes) {
        char buf[3];
        std::snprintf(buf, sizeof buf, "%02X", static_cast<unsigned char>(c));
        hex += buf;
    }
    return hex;
}

} // namespace zkcli
