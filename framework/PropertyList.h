#pragma once

// Property-list XML (plist 1.0) reading and writing: the document format of the saved
// state (AUBase::SaveState / RestoreState), usable on its own (preset tools, tests).
// Its <data> elements are base64 (Base64.h).
//
// The reader accepts the ordinary plist 1.0 format: optional XML declaration,
// comments and DOCTYPE (no internal subset), <plist> around one value; values <dict>,
// <array>, <key>, <string>, <integer>, <real>, <data>, <date>, <true/>, <false/>, and
// the five predefined entities plus numeric character references. No CDATA.
// Limits: documents up to kMaxDocumentBytes, nesting up to kMaxDepth. Numbers are
// parsed with std::from_chars (locale-independent). It never throws on bad input
// other than std::bad_alloc; it reports the first problem with its byte offset.

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zkfw::plist {

inline constexpr std::size_t kMaxDocumentBytes = 4u << 20;
inline constexpr int kMaxDepth = 32;

struct Value {
    enum class Kind { Dict, Array, String, Integer, Real, Data, Date, Boolean };
    Kind kind = Kind::String;
    std::string text;                  // String, Date (decoded text); Data: decoded bytes
    std::int64_t integer = 0;          // Integer
    double real = 0.0;                 // Real
    bool boolean = false;              // Boolean
    std::map<std::string, Value> dict; // Dict (keys unique)
    std::vector<Value> array;          // Array
};

const char* KindName(Value::Kind k); // "dict", "integer", ...

// Parses a whole document. On failure returns false and sets *error.
bool Parse(std::string_view document, Value& out, std::string* error);

// Writes a document with a <dict> root whose entries are already-formatted XML
// value elements (e.g. "<integer>3</integer>"), keys in map (sorted) order.
std::string WriteDictDocument(const std::map<std::string, std::string>& entries);

// Escapes '&', '<' and '>' for element text.
std::string EscapeText(std::string_view s);

} // namespace zkfw::plist
