#pragma once

#include <cstddef>
#include <string>

// Caret movement over UTF-8 text: byte positions that start a code point.
namespace utf8 {

inline bool isContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

inline std::size_t next(const std::string& s, std::size_t pos) {
    if (pos >= s.size()) {
        return s.size();
    }
    ++pos;
    while (pos < s.size() && isContinuation(s[pos])) {
        ++pos;
    }
    return pos;
}

inline std::size_t previous(const std::string& s, std::size_t pos) {
    if (pos == 0) {
        return 0;
    }
    pos = std::min(pos, s.size()) - 1;
    while (pos > 0 && isContinuation(s[pos])) {
        --pos;
    }
    return pos;
}

// Encodes a code point; invalid code points give an empty string.
inline std::string encode(long cp) {
    std::string out;
    if (cp < 0 || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
        return out;
    }
    const auto c = static_cast<unsigned long>(cp);
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
    return out;
}

} // namespace utf8
