#include "cli/Progress.h"

#include <string>

namespace zkcli {

void ProgressBar::Update(std::uint64_t done, std::uint64_t total) {
    if (!enabled || total == 0) {
        return;
    }
    const int percent = static_cast<int>(done >= total ? 100 : done * 100 / total);
    if (percent == shown) {
        return;
    }
    shown = percent;
    constexpr int kWidth = 40;
    const int filled = percent * kWidth / 100;
    out << "\r[" << std::string(static_cast<std::size_t>(filled), '#')
        << std::string(static_cast<std::size_t>(kWidth - filled), ' ') << "] " << percent << "%"
        << std::flush;
}

void ProgressBar::Finish() {
    if (enabled && shown >= 0) {
        out << "\r" << std::string(50, ' ') << "\r" << std::flush;
        shown = -1;
    }
}

} // namespace zkcli
