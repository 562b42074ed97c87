#pragma once

// A child process for the real-host tests: started with fork/exec, optionally
// with a pipe to its standard input, and always ended (SIGTERM, then SIGKILL)
// when the object goes away.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace zktest {

class ChildProcess {
public:
    ChildProcess(const std::vector<std::string>& argv, bool pipeStdin,
                 const std::string& logFile = "/dev/null") {
        int fds[2] = {-1, -1};
        if (pipeStdin && pipe(fds) != 0) {
            return;
        }
        pid = fork();
        if (pid == 0) {
            if (pipeStdin) {
                dup2(fds[0], 0);
                close(fds[0]);
                close(fds[1]);
            }
            if (FILE* log = std::fopen(logFile.c_str(), "a")) {
                dup2(fileno(log), 1);
                dup2(fileno(log), 2);
            }
            std::vector<char*> args;
            for (const std::string& a : argv) {
                args.push_back(const_cast<char*>(a.c_str()));
            }
            args.push_back(nullptr);
            execvp(args[0], args.data());
            _exit(127);
        }
        if (pipeStdin) {
            close(fds[0]);
            stdinFd = fds[1];
        }
    }
    ~ChildProcess() { Stop(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool Started() const { return pid > 0; }
    bool Running() { return pid > 0 && waitpid(pid, &status, WNOHANG) == 0; }
    void Write(const std::string& text) {
        if (stdinFd >= 0) {
            [[maybe_unused]] const auto n = write(stdinFd, text.data(), text.size());
        }
    }
    void CloseStdin() {
        if (stdinFd >= 0) {
            close(stdinFd);
            stdinFd = -1;
        }
    }
    // Waits up to `timeout` for the child to exit by itself; true if it did.
    bool WaitExit(std::chrono::milliseconds timeout) {
        const auto end = std::chrono::steady_clock::now() + timeout;
        while (std::chrono::steady_clock::now() < end) {
            if (!Running()) {
                pid = -1;
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return false;
    }
    int ExitStatus() const { return status; }
    // SIGTERM, a grace period, then SIGKILL.
    void Stop() {
        CloseStdin();
        if (pid <= 0) {
            return;
        }
        kill(pid, SIGTERM);
        if (!WaitExit(std::chrono::milliseconds(3000))) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
        }
        pid = -1;
    }
    pid_t Pid() const { return pid; }

private:
    pid_t pid = -1;
    int stdinFd = -1;
    int status = 0;
};

// What a shell command prints on its standard output.
inline std::string CommandOutput(const std::string& command) {
    std::string out;
    if (FILE* p = popen(command.c_str(), "r")) {
        char buffer[512];
        while (std::fgets(buffer, sizeof buffer, p) != nullptr) {
            out += buffer;
        }
        pclose(p);
    }
    return out;
}

} // namespace zktest
