#include "editor/ProductAddresses.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace zkeditor {

namespace {

std::string UserDataFolder() {
    if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg != nullptr && xdg[0] == '/') {
        return xdg;
    }
    if (const char* home = std::getenv("HOME"); home != nullptr && home[0] == '/') {
        return std::string(home) + "/.local/share";
    }
    return {};
}

} // namespace

std::string ManualUrl() {
    if (const char* url = std::getenv("ZK_MANUAL_URL"); url != nullptr && url[0] != '\0') {
        return url;
    }
    if (const std::string data = UserDataFolder(); !data.empty()) {
        const std::string manual = data + "/doc/zkmorva-eq/manual/index.html";
        std::error_code error;
        if (std::filesystem::is_regular_file(manual, error)) {
            return "file://" + manual;
        }
    }
    return kManualUrl;
}

} // namespace zkeditor
