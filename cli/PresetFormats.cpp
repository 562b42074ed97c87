#include "cli/PresetFormats.h"

#include "cli/CliError.h"

#include <serd/serd.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <set>

namespace zkcli {

namespace {

constexpr const char* kRdfType = "http://www.w3.org/1999/02/22-rdf-syntax-ns#type";
constexpr const char* kRdfsLabel = "http://www.w3.org/2000/01/rdf-schema#label";
constexpr const char* kLv2AppliesTo = "http://lv2plug.in/ns/lv2core#appliesTo";
constexpr const char* kLv2Port = "http://lv2plug.in/ns/lv2core#port";
constexpr const char* kLv2Symbol = "http://lv2plug.in/ns/lv2core#symbol";
constexpr const char* kPsetPreset = "http://lv2plug.in/ns/ext/presets#Preset";
constexpr const char* kPsetValue = "http://lv2plug.in/ns/ext/presets#value";
constexpr const char* kStateState = "http://lv2plug.in/ns/ext/state#state";

[[noreturn]] void Fail(const std::string& source, const std::string& what) {
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

// ---- State blob: NUL-terminated strings, "\xfe" last.

PresetFile DecodeBlob(std::string_view bytes, const std::string& source) {
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

// ---- LV2 Turtle, read with serd into triples.

struct Node {
    SerdType type = SERD_NOTHING;
    std::string text; // expanded URI, blank id or literal
    bool operator<(const Node& o) const { return std::tie(type, text) < std::tie(o.type, o.text); }
};

struct Triples {
    SerdEnv* env = nullptr;
    std::multimap<Node, std::pair<std::string, Node>> bySubject; // s -> (p, o)
    std::string error;

    Node Expand(const SerdNode* n) const {
        Node out;
        if (n == nullptr) {
            return out;
        }
        out.type = n->type;
        if (n->type == SERD_URI || n->type == SERD_CURIE) {
            SerdNode full = serd_env_expand_node(env, n);
            out.type = SERD_URI;
            out.text = full.buf != nullptr ? reinterpret_cast<const char*>(full.buf)
                                           : reinterpret_cast<const char*>(n->buf);
            serd_node_free(&full);
        } else {
            out.text.assign(reinterpret_cast<const char*>(n->buf), n->n_bytes);
        }
        return out;
    }

    std::vector<Node> Objects(const Node& s, const char* predicate) const {
        std::vector<Node> out;
        const auto [first, last] = bySubject.equal_range(s);
        for (auto it = first; it != last; ++it) {
            if (it->second.first == predicate) {
                out.push_back(it->second.second);
            }
        }
        return out;
    }
};

SerdStatus OnBase(void* handle, const SerdNode* uri) {
    return serd_env_set_base_uri(static_cast<Triples*>(handle)->env, uri);
}

SerdStatus OnPrefix(void* handle, const SerdNode* name, const SerdNode* uri) {
    return serd_env_set_prefix(static_cast<Triples*>(handle)->env, name, uri);
}

SerdStatus OnStatement(void* handle, SerdStatementFlags, const SerdNode*, const SerdNode* subject,
                       const SerdNode* predicate, const SerdNode* object, const SerdNode*,
                       const SerdNode*) {
    auto* t = static_cast<Triples*>(handle);
    const Node p = t->Expand(predicate);
    t->bySubject.emplace(t->Expand(subject), std::make_pair(p.text, t->Expand(object)));
    return SERD_SUCCESS;
}

SerdStatus OnError(void* handle, const SerdError* e) {
    auto* t = static_cast<Triples*>(handle);
    if (t->error.empty()) {
        char message[512];
        va_list args;
        va_copy(args, *e->args);
        std::vsnprintf(message, sizeof message, e->fmt, args);
        va_end(args);
        std::string text = message;
        while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) {
            text.pop_back();
        }
        t->error = "line " + std::to_string(e->line) + ": " + text;
    }
    return SERD_SUCCESS;
}

PresetFile DecodeTurtle(std::string_view bytes, const std::string& source) {
    Triples t;
    SerdNode base = serd_node_from_string(SERD_URI, reinterpret_cast<const uint8_t*>("file:///"));
    t.env = serd_env_new(&base);
    std::unique_ptr<SerdEnv, void (*)(SerdEnv*)> envOwner(t.env, &serd_env_free);
    std::unique_ptr<SerdReader, void (*)(SerdReader*)> reader(
        serd_reader_new(SERD_TURTLE, &t, nullptr, &OnBase, &OnPrefix, &OnStatement, nullptr),
        &serd_reader_free);
    serd_reader_set_strict(reader.get(), true);
    serd_reader_set_error_sink(reader.get(), &OnError, &t);
    const std::string text(bytes);
    const SerdStatus status =
        serd_reader_read_string(reader.get(), reinterpret_cast<const uint8_t*>(text.c_str()));
    if (status != SERD_SUCCESS || !t.error.empty()) {
        Fail(source, "is not a readable LV2 preset: " +
                         (t.error.empty() ? std::string("malformed Turtle") : t.error));
    }

    std::set<Node> presets;
    for (const auto& [s, po] : t.bySubject) {
        if ((po.first == kRdfType && po.second.text == kPsetPreset) || po.first == kLv2AppliesTo) {
            presets.insert(s);
        }
    }
    if (presets.empty()) {
        Fail(source, "holds no LV2 preset");
    }
    if (presets.size() > 1) {
        Fail(source, "holds " + std::to_string(presets.size()) +
                         " LV2 presets; give it one preset per file");
    }
    const Node subject = *presets.begin();
    PresetFile file;
    file.format = PresetFormat::Lv2;
    for (const Node& n : t.Objects(subject, kLv2AppliesTo)) {
        file.appliesTo.push_back(n.text);
    }
    if (file.appliesTo.empty()) {
        Fail(source, "does not say which plug-in it applies to (no lv2:appliesTo)");
    }
    for (const Node& n : t.Objects(subject, kRdfsLabel)) {
        file.label = n.text;
    }
    for (const Node& port : t.Objects(subject, kLv2Port)) {
        const std::vector<Node> symbol = t.Objects(port, kLv2Symbol);
        const std::vector<Node> value = t.Objects(port, kPsetValue);
        if (symbol.size() != 1 || value.size() != 1) {
            Fail(source, "has a port without one lv2:symbol and one pset:value");
        }
        const std::optional<float> v = ParseNumber(value[0].text);
        if (value[0].type != SERD_LITERAL || !v) {
            Fail(source, "gives port \"" + symbol[0].text + "\" the value \"" +
                             value[0].text.substr(0, 40) + "\", not a number");
        }
        file.ports.emplace_back(symbol[0].text, *v);
    }
    for (const Node& state : t.Objects(subject, kStateState)) {
        for (const Node& document : t.Objects(state, kLv2StateKeyUri)) {
            file.document = document.text;
        }
    }
    if (file.ports.empty() && file.document.empty()) {
        Fail(source, "sets no port and holds no state");
    }
    return file;
}

bool StartsWith(std::string_view s, std::string_view prefix) {
    return s.substr(0, prefix.size()) == prefix;
}

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
            PresetFile file = DecodeBlob(bytes.substr(offset, size), source);
            file.format = PresetFormat::VstPreset;
            return file;
        }
    }
    Fail(source, "is a VST3 preset without a component state");
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
        Fail(source, "is empty");
    }
    if (StartsWith(bytes, "__dpf_")) {
        return DecodeBlob(bytes, source);
    }
    if (StartsWith(bytes, "VST3")) {
        return DecodeVstPreset(bytes, source);
    }
    if (bytes.find('\0') != std::string_view::npos) {
        Fail(source, "is not a preset document (not an .aupreset, an LV2 preset or a plug-in "
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
    return DecodeTurtle(bytes, source);
}

std::string TurtleString(std::string_view s) {
    std::string out = "\"";
    for (char c : s) {
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            out += c;
        }
    }
    return out + "\"";
}

std::string TurtleNumber(float v) {
    char buf[32];
    const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, v);
    std::string text(buf, ec == std::errc() ? end : buf);
    // A Turtle decimal needs a point; "6" would read as an integer, fine too, but
    // hosts write floats as decimals.
    if (text.find_first_of(".e") == std::string::npos) {
        text += ".0";
    }
    return text;
}

std::string Lv2Prefixes() {
    // The state key is the plug-in's own property: described here, as validators
    // want every property used to be defined.
    return std::string("@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n"
                       "@prefix owl: <http://www.w3.org/2002/07/owl#> .\n"
                       "@prefix pset: <http://lv2plug.in/ns/ext/presets#> .\n"
                       "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n"
                       "@prefix state: <http://lv2plug.in/ns/ext/state#> .\n"
                       "@prefix xsd: <http://www.w3.org/2001/XMLSchema#> .\n\n<") +
           kLv2StateKeyUri +
           ">\n    a owl:DatatypeProperty ;\n    rdfs:label \"Zkmorva settings document\" ;\n"
           "    rdfs:domain state:State ;\n    rdfs:range xsd:string .\n\n";
}

std::string Lv2PresetBody(const Lv2Preset& p) {
    std::string out = p.subject + "\n    a pset:Preset ;\n    lv2:appliesTo ";
    for (std::size_t i = 0; i < p.appliesTo.size(); ++i) {
        out += (i == 0 ? "<" : " , <") + p.appliesTo[i] + ">";
    }
    out += " ;\n    rdfs:label " + TurtleString(p.label) + " ;\n";
    if (!p.comment.empty()) {
        out += "    rdfs:comment " + TurtleString(p.comment) + " ;\n";
    }
    out += "    lv2:port [\n        lv2:symbol \"" + std::string(kLv2BypassSymbol) +
           "\" ;\n        pset:value 1.0\n    ]";
    for (const auto& [def, v] : p.ports) {
        out += " , [\n        lv2:symbol " + TurtleString(def->symbol) + " ;\n        pset:value " +
               TurtleNumber(v) + "\n    ]";
    }
    out += " ;\n    state:state [\n        <" + std::string(kLv2StateKeyUri) + "> " +
           TurtleString(p.document) + "\n    ] .\n";
    return out;
}

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

} // namespace zkcli

namespace zkcli {

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
