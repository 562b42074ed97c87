#pragma once

#include <stdexcept>
#include <string>

namespace zkcli {

// A user-facing failure: the message names the file, value or parameter at fault and
// is printed as it stands. Thrown only outside the render path.
class CliError : public std::runtime_error {
public:
    explicit CliError(const std::string& message) : std::runtime_error(message) {}
};

} // namespace zkcli
