// LV2 presets in Turtle: read with serd into triples, written as hosts write them.
#include "cli/PresetFormats.h"

#include "cli/PresetFormatsDetail.h"

#include <serd/serd.h>

#include <cctype>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <memory>
#include <set>
#include <tuple>

namespace zkcli {

namespace {

using presetformats::Fail;
using presetformats::ParseNumber;

constexpr const char* kRdfType = "http://www.w3.org/1999/02/22-rdf-syntax-ns#type";
constexpr const char* kRdfsLabel = "http://www.w3.org/2000/01/rdf-schema#label";
constexpr const char* kLv2AppliesTo = "http://lv2plug.in/ns/lv2core#appliesTo";
constexpr const char* kLv2Port = "http://lv2plug.in/ns/lv2core#port";
constexpr const char* kLv2Symbol = "http://lv2plug.in/ns/lv2core#symbol";
constexpr const char* kPsetPreset = "http://lv2plug.in/ns/ext/presets#Preset";
constexpr const char* kPsetValue = "http://lv2plug.in/ns/ext/presets#value";
constexpr const char* kStateState = "http://lv2plug.in/ns/ext/state#state";

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

PresetFile ReadTurtle(std::string_view bytes, const std::string& source) {
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

} // namespace

PresetFile presetformats::DecodeTurtle(std::string_view bytes, const std::string& source) {
    return ReadTurtle(bytes, source);
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

} // namespace zkcli
