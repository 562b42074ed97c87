#include "framework/SavedState.h"

#include "framework/AUBase.h"
#include "framework/AUEvents.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

namespace zkfw::plist {

const char* KindName(Value::Kind k) {
    switch (k) {
    case Value::Kind::Dict:
        return "dict";
    case Value::Kind::Array:
        return "array";
    case Value::Kind::String:
        return "string";
    case Value::Kind::Integer:
        return "integer";
    case Value::Kind::Real:
        return "real";
    case Value::Kind::Data:
        return "data";
    case Value::Kind::Date:
        return "date";
    case Value::Kind::Boolean:
        return "boolean";
    }
    return "?";
}

// ---------------------------------------------------------------------------
// base64

namespace {
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int Sextet(char c) {
    if (c >= 'A' && c <= 'Z') {
        return c - 'A';
    }
    if (c >= 'a' && c <= 'z') {
        return c - 'a' + 26;
    }
    if (c >= '0' && c <= '9') {
        return c - '0' + 52;
    }
    if (c == '+') {
        return 62;
    }
    if (c == '/') {
        return 63;
    }
    return -1;
}

bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}
} // namespace

std::string Base64Encode(const std::uint8_t* data, std::size_t size) {
    std::string out;
    out.reserve((size + 2) / 3 * 4);
    for (std::size_t i = 0; i < size; i += 3) {
        const std::uint32_t b0 = data[i];
        const std::uint32_t b1 = i + 1 < size ? data[i + 1] : 0;
        const std::uint32_t b2 = i + 2 < size ? data[i + 2] : 0;
        const std::uint32_t v = (b0 << 16) | (b1 << 8) | b2;
        out += kAlphabet[(v >> 18) & 63];
        out += kAlphabet[(v >> 12) & 63];
        out += i + 1 < size ? kAlphabet[(v >> 6) & 63] : '=';
        out += i + 2 < size ? kAlphabet[v & 63] : '=';
    }
    return out;
}

bool Base64Decode(std::string_view text, std::string& out) {
    out.clear();
    std::string clean;
    clean.reserve(text.size());
    for (char c : text) {
        if (!IsSpace(c)) {
            clean += c;
        }
    }
    if (clean.size() % 4 != 0) {
        return false;
    }
    out.reserve(clean.size() / 4 * 3);
    for (std::size_t i = 0; i < clean.size(); i += 4) {
        const bool last = i + 4 == clean.size();
        int s[4];
        int pad = 0;
        for (int j = 0; j < 4; ++j) {
            const char c = clean[i + j];
            if (c == '=' && last && j >= 2) {
                s[j] = 0;
                ++pad;
                continue;
            }
            if (pad > 0) {
                return false; // data after padding
            }
            s[j] = Sextet(c);
            if (s[j] < 0) {
                return false;
            }
        }
        const std::uint32_t v = (std::uint32_t(s[0]) << 18) | (std::uint32_t(s[1]) << 12) |
                                (std::uint32_t(s[2]) << 6) | std::uint32_t(s[3]);
        out += static_cast<char>((v >> 16) & 0xff);
        if (pad < 2) {
            out += static_cast<char>((v >> 8) & 0xff);
        }
        if (pad < 1) {
            out += static_cast<char>(v & 0xff);
        }
    }
    return true;
}

// ---------------------------------------------------------------------------
// Writer

std::string EscapeText(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    for (char c : s) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::string WriteDictDocument(const std::map<std::string, std::string>& entries) {
    std::string doc = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                      "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                      "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                      "<plist version=\"1.0\">\n<dict>\n";
    for (const auto& [key, value] : entries) {
        doc += "\t<key>" + EscapeText(key) + "</key>\n\t" + value + "\n";
    }
    doc += "</dict>\n</plist>\n";
    return doc;
}

// ---------------------------------------------------------------------------
// Reader

namespace {

class Parser {
public:
    explicit Parser(std::string_view d) : doc(d) {}

    bool Document(Value& out) {
        if (doc.substr(0, 3) == "\xEF\xBB\xBF") {
            pos = 3;
        }
        if (!SkipMisc(true)) {
            return false;
        }
        Tag t;
        if (!ReadTag(t)) {
            return false;
        }
        if (t.closing || t.name != "plist") {
            return Fail("expected <plist>");
        }
        if (t.selfClosing) {
            return Fail("empty <plist/>");
        }
        if (!SkipMisc(false) || !ReadTag(t)) {
            return false;
        }
        if (!ValueFromTag(t, out, 1)) {
            return false;
        }
        if (!SkipMisc(false) || !ReadTag(t)) {
            return false;
        }
        if (!t.closing || t.name != "plist") {
            return Fail("expected </plist> after the root value");
        }
        if (!SkipMisc(false)) {
            return false;
        }
        if (pos != doc.size()) {
            return Fail("unexpected content after </plist>");
        }
        return true;
    }

    std::string error;

private:
    struct Tag {
        std::string name;
        bool closing = false;
        bool selfClosing = false;
        std::size_t at = 0;
    };

    std::string_view doc;
    std::size_t pos = 0;

    bool Fail(const std::string& what) {
        if (error.empty()) {
            error = "malformed property list at byte " + std::to_string(pos) + ": " + what;
        }
        return false;
    }
    bool StartsWith(std::string_view s) const { return doc.substr(pos, s.size()) == s; }
    void SkipSpace() {
        while (pos < doc.size() && IsSpace(doc[pos])) {
            ++pos;
        }
    }

    // Whitespace, comments, and (in the prolog) the XML declaration and DOCTYPE.
    bool SkipMisc(bool prolog) {
        for (;;) {
            SkipSpace();
            if (StartsWith("<!--")) {
                const std::size_t end = doc.find("-->", pos + 4);
                if (end == std::string_view::npos) {
                    return Fail("unterminated comment");
                }
                pos = end + 3;
            } else if (prolog && StartsWith("<?")) {
                const std::size_t end = doc.find("?>", pos + 2);
                if (end == std::string_view::npos) {
                    return Fail("unterminated processing instruction");
                }
                pos = end + 2;
            } else if (prolog && StartsWith("<!DOCTYPE")) {
                const std::size_t end = doc.find('>', pos);
                if (end == std::string_view::npos) {
                    return Fail("unterminated DOCTYPE");
                }
                if (doc.substr(pos, end - pos).find('[') != std::string_view::npos) {
                    return Fail("DOCTYPE internal subsets are not supported");
                }
                pos = end + 1;
            } else {
                return true;
            }
        }
    }

    static bool NameChar(char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_' || c == ':' || c == '-' || c == '.';
    }

    bool ReadTag(Tag& t) {
        t = Tag{};
        t.at = pos;
        if (pos >= doc.size()) {
            return Fail("unexpected end of document");
        }
        if (doc[pos] != '<') {
            return Fail("expected a tag");
        }
        ++pos;
        if (StartsWith("![CDATA[")) {
            return Fail("CDATA sections are not supported");
        }
        if (pos < doc.size() && doc[pos] == '/') {
            t.closing = true;
            ++pos;
        }
        const std::size_t start = pos;
        while (pos < doc.size() && NameChar(doc[pos])) {
            ++pos;
        }
        if (pos == start) {
            return Fail("expected a tag name");
        }
        t.name.assign(doc.substr(start, pos - start));
        // Attributes (ignored), up to '>' or '/>', with quoted values.
        char quote = 0;
        while (pos < doc.size()) {
            const char c = doc[pos];
            if (quote) {
                if (c == quote) {
                    quote = 0;
                }
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '<') {
                return Fail("'<' inside a tag");
            } else if (c == '>') {
                ++pos;
                return true;
            } else if (c == '/' && pos + 1 < doc.size() && doc[pos + 1] == '>') {
                if (t.closing) {
                    return Fail("malformed closing tag");
                }
                t.selfClosing = true;
                pos += 2;
                return true;
            }
            ++pos;
        }
        return Fail("unterminated tag <" + t.name);
    }

    static void AppendUtf8(std::string& s, std::uint32_t cp) {
        if (cp < 0x80) {
            s += static_cast<char>(cp);
        } else if (cp < 0x800) {
            s += static_cast<char>(0xC0 | (cp >> 6));
            s += static_cast<char>(0x80 | (cp & 0x3F));
        } else if (cp < 0x10000) {
            s += static_cast<char>(0xE0 | (cp >> 12));
            s += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            s += static_cast<char>(0x80 | (cp & 0x3F));
        } else {
            s += static_cast<char>(0xF0 | (cp >> 18));
            s += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
            s += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            s += static_cast<char>(0x80 | (cp & 0x3F));
        }
    }

    // Text up to the closing tag </name>, entities decoded.
    bool ReadText(const std::string& name, std::string& out) {
        out.clear();
        while (pos < doc.size() && doc[pos] != '<') {
            const char c = doc[pos];
            if (c != '&') {
                out += c;
                ++pos;
                continue;
            }
            const std::size_t semi = doc.find(';', pos);
            if (semi == std::string_view::npos || semi - pos > 12) {
                return Fail("bad entity reference");
            }
            const std::string_view ent = doc.substr(pos + 1, semi - pos - 1);
            if (ent == "lt") {
                out += '<';
            } else if (ent == "gt") {
                out += '>';
            } else if (ent == "amp") {
                out += '&';
            } else if (ent == "quot") {
                out += '"';
            } else if (ent == "apos") {
                out += '\'';
            } else if (ent.size() >= 2 && ent[0] == '#') {
                const bool hex = ent[1] == 'x' || ent[1] == 'X';
                const std::string_view digits = ent.substr(hex ? 2 : 1);
                std::uint32_t cp = 0;
                const auto r = std::from_chars(digits.data(), digits.data() + digits.size(), cp,
                                               hex ? 16 : 10);
                if (digits.empty() || r.ec != std::errc() ||
                    r.ptr != digits.data() + digits.size() || cp == 0 || cp > 0x10FFFF ||
                    (cp >= 0xD800 && cp <= 0xDFFF)) {
                    return Fail("bad character reference");
                }
                AppendUtf8(out, cp);
            } else {
                return Fail("unknown entity &" + std::string(ent) + ";");
            }
            pos = semi + 1;
        }
        Tag t;
        if (!ReadTag(t)) {
            return false;
        }
        if (!t.closing || t.name != name) {
            return Fail("expected </" + name + ">");
        }
        return true;
    }

    static std::string_view Trim(std::string_view s) {
        while (!s.empty() && IsSpace(s.front())) {
            s.remove_prefix(1);
        }
        while (!s.empty() && IsSpace(s.back())) {
            s.remove_suffix(1);
        }
        return s;
    }

    bool ValueFromTag(const Tag& t, Value& out, int depth) {
        if (depth > kMaxDepth) {
            return Fail("nesting deeper than " + std::to_string(kMaxDepth));
        }
        if (t.closing) {
            return Fail("unexpected </" + t.name + ">");
        }
        const std::string& n = t.name;
        if (n == "true" || n == "false") {
            out.kind = Value::Kind::Boolean;
            out.boolean = n == "true";
            if (!t.selfClosing) {
                std::string text;
                if (!ReadText(n, text)) {
                    return false;
                }
                if (!Trim(text).empty()) {
                    return Fail("<" + n + "> must be empty");
                }
            }
            return true;
        }
        if (n == "dict") {
            out.kind = Value::Kind::Dict;
            if (t.selfClosing) {
                return true;
            }
            for (;;) {
                Tag k;
                if (!SkipMisc(false) || !ReadTag(k)) {
                    return false;
                }
                if (k.closing && k.name == "dict") {
                    return true;
                }
                if (k.closing || k.name != "key") {
                    return Fail("expected <key> in <dict>");
                }
                std::string key;
                if (!k.selfClosing && !ReadText("key", key)) {
                    return false;
                }
                if (out.dict.count(key)) {
                    return Fail("duplicate key \"" + key + "\"");
                }
                Tag v;
                if (!SkipMisc(false) || !ReadTag(v)) {
                    return false;
                }
                Value child;
                if (!ValueFromTag(v, child, depth + 1)) {
                    return false;
                }
                out.dict.emplace(std::move(key), std::move(child));
            }
        }
        if (n == "array") {
            out.kind = Value::Kind::Array;
            if (t.selfClosing) {
                return true;
            }
            for (;;) {
                Tag v;
                if (!SkipMisc(false) || !ReadTag(v)) {
                    return false;
                }
                if (v.closing && v.name == "array") {
                    return true;
                }
                Value child;
                if (!ValueFromTag(v, child, depth + 1)) {
                    return false;
                }
                out.array.push_back(std::move(child));
            }
        }
        std::string text;
        if (!t.selfClosing && !ReadText(n, text)) {
            return false;
        }
        if (n == "string" || n == "date") {
            out.kind = n == "string" ? Value::Kind::String : Value::Kind::Date;
            out.text = std::move(text);
            return true;
        }
        if (n == "integer") {
            out.kind = Value::Kind::Integer;
            std::string_view s = Trim(text);
            if (!s.empty() && s.front() == '+') {
                s.remove_prefix(1);
            }
            const auto r = std::from_chars(s.data(), s.data() + s.size(), out.integer);
            if (s.empty() || r.ec != std::errc() || r.ptr != s.data() + s.size()) {
                return Fail("bad <integer> \"" + std::string(Trim(text).substr(0, 40)) + "\"");
            }
            return true;
        }
        if (n == "real") {
            out.kind = Value::Kind::Real;
            std::string_view s = Trim(text);
            if (!s.empty() && s.front() == '+') {
                s.remove_prefix(1);
            }
            const auto r = std::from_chars(s.data(), s.data() + s.size(), out.real);
            if (s.empty() || r.ec != std::errc() || r.ptr != s.data() + s.size()) {
                return Fail("bad <real> \"" + std::string(Trim(text).substr(0, 40)) + "\"");
            }
            return true;
        }
        if (n == "data") {
            out.kind = Value::Kind::Data;
            if (!Base64Decode(text, out.text)) {
                return Fail("bad base64 in <data>");
            }
            return true;
        }
        return Fail("unknown element <" + n + ">");
    }
};

} // namespace

bool Parse(std::string_view document, Value& out, std::string* error) {
    std::string local;
    std::string& err = error ? *error : local;
    if (document.empty()) {
        err = "empty document";
        return false;
    }
    if (document.size() > kMaxDocumentBytes) {
        err = "document too large (" + std::to_string(document.size()) + " bytes, limit " +
              std::to_string(kMaxDocumentBytes) + ")";
        return false;
    }
    Parser p(document);
    Value v;
    if (!p.Document(v)) {
        err = p.error.empty() ? "malformed property list" : p.error;
        return false;
    }
    out = std::move(v);
    return true;
}

} // namespace zkfw::plist

// ---------------------------------------------------------------------------
// AUBase::SaveState / RestoreState

namespace {

void PutBE32(std::vector<std::uint8_t>& v, std::uint32_t x) {
    v.push_back(static_cast<std::uint8_t>(x >> 24));
    v.push_back(static_cast<std::uint8_t>(x >> 16));
    v.push_back(static_cast<std::uint8_t>(x >> 8));
    v.push_back(static_cast<std::uint8_t>(x));
}

std::uint32_t GetBE32(const std::string& s, std::size_t at) {
    return (std::uint32_t(std::uint8_t(s[at])) << 24) |
           (std::uint32_t(std::uint8_t(s[at + 1])) << 16) |
           (std::uint32_t(std::uint8_t(s[at + 2])) << 8) | std::uint32_t(std::uint8_t(s[at + 3]));
}

std::string Integer(std::int64_t v) {
    return "<integer>" + std::to_string(v) + "</integer>";
}

} // namespace

std::string AUBase::SaveState() {
    CreateElements();
    std::vector<std::uint8_t> bytes;
    const AUElement* g = Globals();
    const UInt32 n = g->GetNumberOfParameters();
    bytes.reserve(n * 8u);
    for (UInt32 id = 0; id < n; ++id) {
        PutBE32(bytes, id);
        PutBE32(bytes, std::bit_cast<std::uint32_t>(g->GetParameter(id)));
    }
    std::string b64 = zkfw::plist::Base64Encode(bytes.data(), bytes.size());
    // Break the base64 text into lines as plist writers do.
    std::string data = "<data>\n";
    for (std::size_t i = 0; i < b64.size(); i += 68) {
        data += "\t" + b64.substr(i, 68) + "\n";
    }
    data += "\t</data>";
    const AudioComponentDescription& d = GetComponentDescription();
    std::map<std::string, std::string> entries;
    entries["data"] = data;
    entries["manufacturer"] = Integer(d.componentManufacturer);
    entries["name"] = "<string>" + zkfw::plist::EscapeText(mPresetName) + "</string>";
    entries["subtype"] = Integer(d.componentSubType);
    entries["type"] = Integer(d.componentType);
    entries["version"] = Integer(kCurrentSavedStateVersion);
    return zkfw::plist::WriteDictDocument(entries);
}

OSStatus AUBase::RestoreState(std::string_view document, std::string* outError) {
    using zkfw::plist::Value;
    std::string localError;
    std::string& err = outError ? *outError : localError;
    err.clear();
    const auto refuse = [&](std::string message) {
        err = "saved state refused: " + std::move(message);
        return kAudioUnitErr_InvalidPropertyValue;
    };
    CreateElements();

    Value root;
    std::string parseError;
    if (!zkfw::plist::Parse(document, root, &parseError)) {
        return refuse(parseError);
    }
    if (root.kind != Value::Kind::Dict) {
        return refuse(std::string("the root is a <") + zkfw::plist::KindName(root.kind) +
                      ">, not a <dict>");
    }
    const auto field = [&](const char* key, Value::Kind kind, const Value*& out) -> bool {
        const auto it = root.dict.find(key);
        if (it == root.dict.end()) {
            err = std::string("saved state refused: missing key \"") + key + "\"";
            return false;
        }
        if (it->second.kind != kind) {
            err = std::string("saved state refused: key \"") + key + "\" is a <" +
                  zkfw::plist::KindName(it->second.kind) + ">, expected <" +
                  zkfw::plist::KindName(kind) + ">";
            return false;
        }
        out = &it->second;
        return true;
    };
    const Value* version = nullptr;
    const Value* type = nullptr;
    const Value* subtype = nullptr;
    const Value* manufacturer = nullptr;
    const Value* data = nullptr;
    if (!field("version", Value::Kind::Integer, version) ||
        !field("type", Value::Kind::Integer, type) ||
        !field("subtype", Value::Kind::Integer, subtype) ||
        !field("manufacturer", Value::Kind::Integer, manufacturer) ||
        !field("data", Value::Kind::Data, data)) {
        return kAudioUnitErr_InvalidPropertyValue;
    }
    std::string name = mPresetName;
    if (const auto it = root.dict.find("name"); it != root.dict.end()) {
        if (it->second.kind != Value::Kind::String) {
            return refuse("key \"name\" is not a <string>");
        }
        name = it->second.text;
    }
    if (version->integer > kCurrentSavedStateVersion) {
        return refuse("version " + std::to_string(version->integer) +
                      " is newer than the supported version " +
                      std::to_string(kCurrentSavedStateVersion));
    }
    if (version->integer < 0) {
        return refuse("invalid version " + std::to_string(version->integer));
    }
    const auto code = [](const Value* v, UInt32& out) {
        if (v->integer < INT32_MIN || v->integer > UINT32_MAX) {
            return false;
        }
        out = static_cast<UInt32>(v->integer);
        return true;
    };
    AudioComponentDescription docDesc{};
    if (!code(type, docDesc.componentType) || !code(subtype, docDesc.componentSubType) ||
        !code(manufacturer, docDesc.componentManufacturer)) {
        return refuse("type, subtype or manufacturer out of the 32-bit range");
    }
    const AudioComponentDescription& mine = GetComponentDescription();
    if (!SameComponent(docDesc, mine)) {
        return refuse(
            "the document belongs to another unit (type '" + FourCCToString(docDesc.componentType) +
            "', subtype '" + FourCCToString(docDesc.componentSubType) + "', manufacturer '" +
            FourCCToString(docDesc.componentManufacturer) + "'; this unit is '" +
            FourCCToString(mine.componentType) + "', '" + FourCCToString(mine.componentSubType) +
            "', '" + FourCCToString(mine.componentManufacturer) + "')");
    }
    const std::string& bytes = data->text;
    if (bytes.size() % 8 != 0) {
        return refuse("data is " + std::to_string(bytes.size()) +
                      " bytes, not a whole number of 8-byte (id, value) pairs");
    }
    AUElement* g = Globals();
    std::vector<std::pair<AudioUnitParameterID, AudioUnitParameterValue>> values;
    values.reserve(bytes.size() / 8);
    std::vector<bool> seen(g->GetNumberOfParameters(), false);
    for (std::size_t at = 0; at < bytes.size(); at += 8) {
        const AudioUnitParameterID id = GetBE32(bytes, at);
        float v = std::bit_cast<float>(GetBE32(bytes, at + 4));
        if (!g->HasParameter(id)) {
            return refuse("parameter " + std::to_string(id) + " is unknown to this unit");
        }
        if (seen[id]) {
            return refuse("parameter " + std::to_string(id) + " appears twice");
        }
        seen[id] = true;
        if (!std::isfinite(v)) {
            return refuse("parameter " + std::to_string(id) + " has a non-finite value (" +
                          (std::isnan(v) ? "NaN" : "infinity") + ")");
        }
        AudioUnitParameterInfo info;
        if (GetParameterInfo(kAudioUnitScope_Global, id, info) == noErr &&
            info.minValue <= info.maxValue) {
            v = std::clamp(v, info.minValue, info.maxValue);
        }
        values.emplace_back(id, v);
    }

    // Validated: apply, then tell the listeners.
    for (const auto& [id, v] : values) {
        g->SetParameter(id, v);
    }
    mPresetName = std::move(name);
    StateRestored();
    for (const auto& [id, v] : values) {
        AudioUnitEvent e;
        e.mEventType = kAudioUnitEvent_ParameterValueChange;
        e.mArgument.mParameter = AudioUnitParameter{this, id, kAudioUnitScope_Global, 0};
        zkfw::PostEvent(nullptr, nullptr, e, v);
    }
    PropertyChanged(kAudioUnitProperty_ClassInfo, kAudioUnitScope_Global, 0);
    return noErr;
}
