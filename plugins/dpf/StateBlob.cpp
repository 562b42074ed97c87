#include "plugins/dpf/StateBlob.h"

#include <vector>

namespace zkplug {

std::optional<std::string_view> FindDpfStateValue(std::string_view blob, std::string_view key) {
    std::vector<std::string_view> tokens;
    for (std::size_t pos = 0; pos < blob.size();) {
        const std::size_t end = blob.find('\0', pos);
        if (end == std::string_view::npos) {
            return std::nullopt; // every string is NUL-terminated
        }
        tokens.push_back(blob.substr(pos, end - pos));
        pos = end + 1;
    }
    if (tokens.empty() || tokens.back() != "\xfe") {
        return std::nullopt; // truncated, or not DPF's
    }
    std::size_t i = 0;
    while (i < tokens.size() && tokens[i] != "__dpf_state_begin__") {
        ++i;
    }
    for (++i; i + 1 < tokens.size() && tokens[i] != "__dpf_state_end__"; i += 2) {
        if (tokens[i] == key) {
            return tokens[i + 1];
        }
    }
    return std::nullopt;
}

} // namespace zkplug
