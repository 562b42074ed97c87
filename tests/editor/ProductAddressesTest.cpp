#include "editor/ProductAddresses.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

namespace {

// Sets or clears an environment variable for one test and restores it after.
class EnvGuard {
public:
    EnvGuard(const char* name, std::optional<std::string> value) : name(name) {
        if (const char* old = std::getenv(name)) {
            previous = old;
        }
        value ? setenv(name, value->c_str(), 1) : unsetenv(name);
    }
    ~EnvGuard() { previous ? setenv(name, previous->c_str(), 1) : unsetenv(name); }

private:
    const char* name;
    std::optional<std::string> previous;
};

TEST(ManualUrl, UserCopyFirstThenTheInstallPrefixAndTheEnvironmentOverridesBoth) {
    const auto data =
        std::filesystem::temp_directory_path() / ("zk-manual-" + std::to_string(::getpid()));
    std::filesystem::remove_all(data);
    EnvGuard noOverride("ZK_MANUAL_URL", std::nullopt);
    EnvGuard xdg("XDG_DATA_HOME", data.string());

    // No user copy: the build's install location.
    EXPECT_EQ(zkeditor::ManualUrl(), zkeditor::kManualUrl);

    const auto manual = data / "doc/zkmorva-eq/manual/index.html";
    std::filesystem::create_directories(manual.parent_path());
    std::ofstream(manual) << "<html></html>";
    EXPECT_EQ(zkeditor::ManualUrl(), "file://" + manual.string());

    {
        EnvGuard override("ZK_MANUAL_URL", "file:///elsewhere/index.html");
        EXPECT_EQ(zkeditor::ManualUrl(), "file:///elsewhere/index.html");
    }
    {
        // Without XDG_DATA_HOME the user's data folder is ~/.local/share.
        EnvGuard noXdg("XDG_DATA_HOME", std::nullopt);
        EnvGuard home("HOME", (data / "home").string());
        EXPECT_EQ(zkeditor::ManualUrl(), zkeditor::kManualUrl);
        const auto homeManual = data / "home/.local/share/doc/zkmorva-eq/manual/index.html";
        std::filesystem::create_directories(homeManual.parent_path());
        std::ofstream(homeManual) << "<html></html>";
        EXPECT_EQ(zkeditor::ManualUrl(), "file://" + homeManual.string());
    }
    std::filesystem::remove_all(data);
}

} // namespace
