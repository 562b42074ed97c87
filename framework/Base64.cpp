#include "framework/Base64.h"

#include <array>

namespace zkfw::plist {

namespace {
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint32_t kSextetMask = 0x3f;
constexpr char kPadding = '=';

// The value of each character of the alphabet, -1 for every other byte.
constexpr std::array<std::int8_t, 256> kSextetOf = [] {
    std::array<std::int8_t, 256> table{};
    table.fill(-1);
    for (int i = 0; i < 64; ++i) {
        table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::int8_t>(i);
    }
    return table;
}();

bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}
} // namespace

// Every 3 bytes become 4 characters of 6 bits each; a short last group is padded.
std::string Base64Encode(const std::uint8_t* data, std::size_t size) {
    std::string out;
    out.reserve((size + 2) / 3 * 4);
    for (std::size_t i = 0; i < size; i += 3) {
        const std::uint32_t b0 = data[i];
        const std::uint32_t b1 = i + 1 < size ? data[i + 1] : 0;
        const std::uint32_t b2 = i + 2 < size ? data[i + 2] : 0;
        const std::uint32_t v = (b0 << 16) | (b1 << 8) | b2;
        out += kAlphabet[(v >> 18) & kSextetMask];
        out += kAlphabet[(v >> 12) & kSextetMask];
        out += i + 1 < size ? kAlphabet[(v >> 6) & kSextetMask] : kPadding;
        out += i + 2 < size ? kAlphabet[v & kSextetMask] : kPadding;
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
            if (c == kPadding && last && j >= 2) { // only the last two of the last group
                s[j] = 0;
                ++pad;
                continue;
            }
            if (pad > 0) {
                return false; // data after padding
            }
            s[j] = kSextetOf[static_cast<unsigned char>(c)];
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

} // namespace zkfw::plist
