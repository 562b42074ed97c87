#pragma once

// Command-line options: "--name value", "--name=value", flags, repeated options, and
// positional arguments ("--" ends the options).
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zkcli {

struct OptionSpec {
    const char* name; // without the dashes: "set"
    char shortName;   // 'q', or 0
    bool takesValue;
};

class Arguments {
public:
    std::vector<std::string> positional;
    std::vector<std::pair<std::string, std::string>> options; // in command-line order

    bool Has(std::string_view name) const;
    // The last value given, or `fallback`.
    std::string Value(std::string_view name, const std::string& fallback = "") const;
    std::vector<std::string> Values(std::string_view name) const;
};

// Throws CliError for an unknown option or a missing value.
Arguments ParseArguments(std::span<const std::string> args, std::span<const OptionSpec> specs);

// A whole positive number for an option ("--block 256"); throws CliError.
unsigned ParseCount(std::string_view option, std::string_view text, unsigned lo, unsigned hi);

} // namespace zkcli
