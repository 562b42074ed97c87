#pragma once

#include <cstdint>
#include <ostream>

namespace zkcli {

// A one-line progress bar redrawn in place; only drawn when enabled (a terminal,
// not --quiet) and only when the percentage changes.
class ProgressBar {
public:
    ProgressBar(std::ostream& out, bool enabled) : out(out), enabled(enabled) {}
    ~ProgressBar() { Finish(); }
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void Update(std::uint64_t done, std::uint64_t total);
    void Finish();

private:
    std::ostream& out;
    bool enabled;
    int shown = -1;
};

} // namespace zkcli
