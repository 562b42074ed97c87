#!/usr/bin/env bash
# Sets up everything (packages, build) and runs every test suite, then the
# threaded suites again under ThreadSanitizer, then the suites without a GUI or
# plug-ins (dsp, framework, units, cli, reliability) under the address and
# undefined-behaviour sanitizers, then fuzzes the parsers (scripts/fuzz.sh).
# The sanitizer pass over every suite, GUI and plug-ins included, is
# scripts/sanitize.sh (a second full build: too long for CI).
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
top=$(dirname "$here")
jobs=$(nproc)
# Each stage's wall time, so that a slow stage shows in CI's log.
start=$SECONDS
stage() { echo "== $1 (at $((SECONDS - start)) s) =="; }

bash "$here/count-lines.sh"
stage "packages and build"
# The benchmarks are built by scripts/bench.sh in a folder of their own.
"$here/bootstrap.sh" -DZK_BUILD_BENCH=OFF
stage "every suite"
(cd "$top/build" && ctest --output-on-failure -j "$jobs")

stage "threaded suites under ThreadSanitizer"
cmake -S "$top" -B "$top/build-tsan" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZK_SANITIZE=thread \
    -DZK_BUILD_GUI=OFF -DZK_BUILD_PLUGINS=OFF -DZK_BUILD_CLI=OFF -DZK_BUILD_BENCH=OFF >/dev/null
# Only the programs that hold the threaded suites (the pattern below).
cmake --build "$top/build-tsan" -j "$jobs" --target zk_dsp20_tests zk_framework_tests \
    zk_units_tests zk_reliability_threads_tests
(cd "$top/build-tsan" && TSAN_OPTIONS=halt_on_error=1 ctest --output-on-failure -j "$jobs" \
    -R 'Threads|RunLoops|LockFreeQueue|SampleRing|EventService' --no-tests=error)

stage "suites without GUI or plug-ins under AddressSanitizer and UBSan"
# -O1: the same checks for a fifth less compile time than -O2.
cmake -S "$top" -B "$top/build-asan-nogui" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZK_SANITIZE=address \
    "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -DNDEBUG" "-DCMAKE_C_FLAGS_RELWITHDEBINFO=-O1 -DNDEBUG" \
    -DZK_BUILD_GUI=OFF -DZK_BUILD_PLUGINS=OFF -DZK_BUILD_CLI=ON -DZK_BUILD_BENCH=OFF >/dev/null
cmake --build "$top/build-asan-nogui" -j "$jobs"
(cd "$top/build-asan-nogui" && ASAN_OPTIONS=detect_leaks=1:halt_on_error=1:abort_on_error=1 \
    LSAN_OPTIONS=suppressions=$here/lsan.supp:print_suppressions=0 \
    UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 ctest --output-on-failure -j "$jobs")

stage "libFuzzer on the saved-state reader and the text parsers"
ZK_FUZZ_SECONDS=${ZK_FUZZ_SECONDS:-75} "$here/fuzz.sh"
stage "done"
