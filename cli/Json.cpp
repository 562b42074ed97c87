#include "cli/Json.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace zkcli {

std::string JsonString(std::string_view s) {
    std::string out = "\"";
    for (char ch : s) {
        const unsigned char c = static_cast<unsigned char>(ch);
        switch (ch) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (c < 0x20) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x", c);
                out += buf;
            } else {
                out += ch;
            }
        }
    }
    return out + "\"";
}

std::string JsonNumber(double v) {
    if (!std::isfinite(v)) {
        return "null";
    }
    char buf[32];
    const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, v);
    return std::string(buf, ec == std::errc() ? end : buf);
}

} // namespace zkcli
