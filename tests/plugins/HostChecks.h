#pragma once

// Pass/fail bookkeeping of the real-host test programs: each check prints one
// line, the program ends with the count and exits non-zero on any failure.

#include <cstdio>
#include <string>

namespace zktest {

struct HostChecks {
    int passed = 0;
    int failed = 0;

    bool operator()(bool ok, const std::string& what) {
        std::printf("%s: %s\n", ok ? "ok" : "FAILED", what.c_str());
        std::fflush(stdout);
        ++(ok ? passed : failed);
        return ok;
    }
    int Finish() const {
        std::printf("%d passed, %d failed\n", passed, failed);
        return failed == 0 ? 0 : 1;
    }
};

} // namespace zktest
