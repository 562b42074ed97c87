#include "units/SpectrumSettings.h"

namespace zk {

std::string FormatSpectrumSettings(const SpectrumSettings& s) {
    std::string text = s.on ? "on" : "off";
    if (s.input) {
        text += " pre";
    }
    if (s.output) {
        text += " post";
    }
    text += s.midSide ? " ms" : " lr";
    text += s.peakHold ? " hold" : " free";
    return text;
}

SpectrumSettings ParseSpectrumSettings(std::string_view text) {
    SpectrumSettings s;
    bool pre = false;
    bool post = false;
    while (!text.empty()) {
        const std::size_t space = text.find(' ');
        const std::string_view word = text.substr(0, space);
        text = space == std::string_view::npos ? std::string_view() : text.substr(space + 1);
        if (word == "on" || word == "off") {
            s.on = word == "on";
        } else if (word == "pre") {
            pre = true;
        } else if (word == "post") {
            post = true;
        } else if (word == "ms" || word == "lr") {
            s.midSide = word == "ms";
        } else if (word == "hold" || word == "free") {
            s.peakHold = word == "hold";
        }
    }
    if (pre || post) {
        s.input = pre;
        s.output = post;
    }
    return s;
}

} // namespace zk
