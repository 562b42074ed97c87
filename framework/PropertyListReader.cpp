// The property-list reader: a small recursive-descent parser over the document text.

#include "framework/Base64.h"
#include "framework/PropertyList.h"

#include <charconv>

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

namespace {

// An entity reference whose ';' lies further than this from its '&' is refused.
constexpr std::size_t kMaxEntityLength = 12;
// How much of a bad number an error message quotes.
constexpr std::size_t kQuotedTextLength = 40;

bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

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
            if (semi == std::string_view::npos || semi - pos > kMaxEntityLength) {
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

    // The whole of `text` (spaces around it and a leading '+' allowed) as a number.
    template <class Number>
    bool ReadNumber(const std::string& element, const std::string& text, Number& out) {
        std::string_view s = Trim(text);
        if (!s.empty() && s.front() == '+') {
            s.remove_prefix(1);
        }
        const auto r = std::from_chars(s.data(), s.data() + s.size(), out);
        if (s.empty() || r.ec != std::errc() || r.ptr != s.data() + s.size()) {
            return Fail("bad <" + element + "> \"" +
                        std::string(Trim(text).substr(0, kQuotedTextLength)) + "\"");
        }
        return true;
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
            return ReadNumber(n, text, out.integer);
        }
        if (n == "real") {
            out.kind = Value::Kind::Real;
            return ReadNumber(n, text, out.real);
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
