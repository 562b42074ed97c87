#include "editor/UrlOpener.h"

#include <mutex>
#include <vector>

#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace zkeditor {

namespace {

std::mutex& OpenerMutex() {
    static std::mutex mutex;
    return mutex;
}

UrlOpener& CurrentOpener() {
    static UrlOpener opener;
    return opener;
}

std::vector<pid_t>& RunningOpeners() {
    static std::vector<pid_t> running;
    return running;
}

} // namespace

void SetUrlOpener(UrlOpener opener) {
    const std::lock_guard<std::mutex> lock(OpenerMutex());
    CurrentOpener() = std::move(opener);
}

void OpenUrl(const std::string& url) {
    UrlOpener opener;
    {
        const std::lock_guard<std::mutex> lock(OpenerMutex());
        opener = CurrentOpener();
    }
    if (opener) {
        opener(url);
    } else {
        OpenUrlWithSystem(url);
    }
}

bool OpenUrlWithSystem(const std::string& url) {
    ReapUrlOpeners();
    // An address starting with '-' would read as an option.
    if (url.empty() || url.front() == '-') {
        return false;
    }
    std::string program = "xdg-open";
    std::string argument = url;
    char* argv[] = {program.data(), argument.data(), nullptr};
    pid_t pid = 0;
    if (posix_spawnp(&pid, "xdg-open", nullptr, nullptr, argv, environ) != 0) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(OpenerMutex());
    RunningOpeners().push_back(pid);
    return true;
}

void ReapUrlOpeners() {
    const std::lock_guard<std::mutex> lock(OpenerMutex());
    auto& running = RunningOpeners();
    std::erase_if(running, [](pid_t pid) {
        int status = 0;
        const pid_t result = waitpid(pid, &status, WNOHANG);
        return result != 0; // finished, or no longer ours to wait for
    });
}

} // namespace zkeditor
