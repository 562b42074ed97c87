#include "cli/ValueFormat.h"

#include "cli/CliError.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>

namespace zkcli {

namespace {

std::string_view Trim(std::string_view s) {
    while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front()))) {
        s.remove_prefix(1);
    }
    while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back()))) {
        s.remove_suffix(1);
    }
    return s;
}

// Lower case, runs of blanks as one space, a trailing '.' dropped: "Q  f G" == "q f g",
// "12dB/oct" == "12dB/oct.".
std::string Normalise(std::string_view s) {
    std::string out;
    bool blank = false;
    for (char c : Trim(s)) {
        if (std::isspace(static_cast<unsigned char>(c))) {
            blank = true;
            continue;
        }
        if (blank && !out.empty()) {
            out += ' ';
        }
        blank = false;
        out += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    if (!out.empty() && out.back() == '.') {
        out.pop_back();
    }
    return out;
}

bool IsBoolean(const zk::ParameterDef& def) {
    return def.unit == kAudioUnitParameterUnit_Boolean;
}

std::string Quote(std::string_view s) {
    return "\"" + std::string(s) + "\"";
}

[[noreturn]] void Refuse(const zk::ParameterDef& def, std::string_view text,
                         const std::string& why) {
    throw CliError("parameter \"" + std::string(def.name) + "\": " + Quote(text) + " " + why);
}

} // namespace

std::optional<double> ParseNumber(std::string_view text) {
    text = Trim(text);
    std::string s(text);
    if (s.find('.') == std::string::npos) {
        // A decimal comma, as many locales write it; never a thousands separator.
        if (std::count(s.begin(), s.end(), ',') == 1) {
            std::replace(s.begin(), s.end(), ',', '.');
        }
    }
    const char* first = s.data();
    const char* last = s.data() + s.size();
    if (first != last && *first == '+') {
        ++first;
    }
    double value = 0.0;
    const auto [end, ec] = std::from_chars(first, last, value);
    if (ec != std::errc() || end != last || first == last || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::string FormatNumber(float value) {
    char buffer[32];
    const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    std::string out(buffer, ec == std::errc() ? end : buffer);
    return out == "-0" ? "0" : out;
}

std::string FormatValue(const ValueContext& context, float value) {
    const zk::ParameterDef& def = context.def;
    if (IsBoolean(def) && (value == 0.0f || value == 1.0f)) {
        return value != 0.0f ? "on" : "off";
    }
    if (!context.valueStrings.empty() && value >= 0.0f &&
        value < static_cast<float>(context.valueStrings.size()) && value == std::floor(value)) {
        return context.valueStrings[static_cast<std::size_t>(value)];
    }
    const std::string_view suffix = zk::LabelOf(def.unit).suffix;
    return FormatNumber(value) + (suffix.empty() ? "" : " " + std::string(suffix));
}

float ParseValue(const ValueContext& context, std::string_view text) {
    const zk::ParameterDef& def = context.def;
    const std::string key = Normalise(text);
    if (key.empty()) {
        Refuse(def, text, "is empty; expected " + DescribeRange(context));
    }
    if (IsBoolean(def)) {
        if (key == "on" || key == "true" || key == "yes" || key == "1") {
            return 1.0f;
        }
        if (key == "off" || key == "false" || key == "no" || key == "0") {
            return 0.0f;
        }
        Refuse(def, text, "is not on or off");
    }
    for (std::size_t i = 0; i < context.valueStrings.size(); ++i) {
        if (key == Normalise(context.valueStrings[i])) {
            return static_cast<float>(i);
        }
    }
    for (const zk::ValueTextRule& rule : context.valueTexts) {
        if (zk::NamesParameter(rule, def.id) && key == Normalise(rule.text)) {
            return rule.value;
        }
    }

    // A number, then the unit's suffix if any ("kHz" scales).
    std::string_view body = Trim(text);
    double scale = 1.0;
    const std::string_view suffix = zk::LabelOf(def.unit).suffix;
    auto endsWith = [&](std::string_view tail) {
        return body.size() >= tail.size() &&
               Normalise(body.substr(body.size() - tail.size())) == Normalise(tail);
    };
    if (def.unit == kAudioUnitParameterUnit_Hertz && endsWith("kHz")) {
        body.remove_suffix(3);
        scale = 1000.0;
    } else if (!suffix.empty() && endsWith(suffix)) {
        body.remove_suffix(suffix.size());
    }
    const std::optional<double> number = ParseNumber(body);
    if (!number) {
        std::string expected = "a number";
        if (!suffix.empty()) {
            expected += " in " + std::string(suffix);
        }
        if (!context.valueStrings.empty()) {
            expected += " or one of " + DescribeRange(context);
        }
        Refuse(def, text, "is not " + expected);
    }
    const double scaled = *number * scale;
    const float value = static_cast<float>(scaled);
    if (!context.valueStrings.empty() && value != std::floor(value)) {
        Refuse(def, text, "is not one of " + DescribeRange(context));
    }
    if (!(value >= def.minValue && value <= def.maxValue) || !std::isfinite(value)) {
        Refuse(def, text, "is out of range " + DescribeRange(context));
    }
    return value;
}

std::string SpecialText(const ValueContext& context, float value) {
    const char* text = zk::FindValueText(context.valueTexts, context.def.id, value);
    return text != nullptr ? text : "";
}

std::string DescribeRange(const ValueContext& context) {
    const zk::ParameterDef& def = context.def;
    if (IsBoolean(def)) {
        return "on/off";
    }
    if (!context.valueStrings.empty()) {
        std::string out;
        for (std::size_t i = 0; i < context.valueStrings.size(); ++i) {
            out += (i == 0 ? "" : " | ") + Quote(context.valueStrings[i]);
        }
        return out;
    }
    const ValueContext plain{def, {}, {}};
    return FormatValue(plain, def.minValue) + " .. " + FormatValue(plain, def.maxValue);
}

} // namespace zkcli
