#include "cli/Arguments.h"

#include "cli/CliError.h"

#include <cctype>
#include <charconv>

namespace zkcli {

bool Arguments::Has(std::string_view name) const {
    for (const auto& [k, v] : options) {
        if (k == name) {
            return true;
        }
    }
    return false;
}

std::string Arguments::Value(std::string_view name, const std::string& fallback) const {
    std::string out = fallback;
    for (const auto& [k, v] : options) {
        if (k == name) {
            out = v;
        }
    }
    return out;
}

std::vector<std::string> Arguments::Values(std::string_view name) const {
    std::vector<std::string> out;
    for (const auto& [k, v] : options) {
        if (k == name) {
            out.push_back(v);
        }
    }
    return out;
}

Arguments ParseArguments(std::span<const std::string> args, std::span<const OptionSpec> specs) {
    Arguments out;
    bool optionsEnded = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (optionsEnded || a.size() < 2 || a[0] != '-' ||
            (a[1] != '-' && !std::isalpha(static_cast<unsigned char>(a[1])))) {
            out.positional.push_back(a); // also "-" and negative numbers
            continue;
        }
        if (a == "--") {
            optionsEnded = true;
            continue;
        }
        std::string name;
        std::string value;
        bool hasValue = false;
        if (a[1] == '-') {
            name = a.substr(2);
            if (const auto eq = name.find('='); eq != std::string::npos) {
                value = name.substr(eq + 1);
                name.resize(eq);
                hasValue = true;
            }
        } else {
            name = a.substr(1);
        }
        const OptionSpec* option = nullptr;
        for (const OptionSpec& s : specs) {
            if (name == s.name || (name.size() == 1 && name[0] == s.shortName && a[1] != '-')) {
                option = &s;
            }
        }
        if (option == nullptr) {
            throw CliError("unknown option " + a);
        }
        if (option->takesValue && !hasValue) {
            if (i + 1 >= args.size()) {
                throw CliError("option --" + std::string(option->name) + " needs a value");
            }
            value = args[++i];
        } else if (!option->takesValue && hasValue) {
            throw CliError("option --" + std::string(option->name) + " takes no value");
        }
        out.options.emplace_back(option->name, value);
    }
    return out;
}

unsigned ParseCount(std::string_view option, std::string_view text, unsigned lo, unsigned hi) {
    unsigned v = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (ec != std::errc() || end != text.data() + text.size() || v < lo || v > hi) {
        throw CliError("option --" + std::string(option) + ": \"" + std::string(text) +
                       "\" is not a whole number from " + std::to_string(lo) + " to " +
                       std::to_string(hi));
    }
    return v;
}

} // namespace zkcli
