#!/usr/bin/env bash
# Sets up everything (packages, build) and runs every test suite, then the
# threaded suites again under ThreadSanitizer, then fuzzes the parsers (scripts/fuzz.sh).
# The address and undefined-behaviour sanitizer pass over every suite is
# scripts/sanitize.sh (a second full build: too long for CI).
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
top=$(dirname "$here")
jobs=$(nproc)

"$here/bootstrap.sh"
(cd "$top/build" && ctest --output-on-failure -j "$jobs")

echo "== threaded suites under ThreadSanitizer =="
cmake -S "$top" -B "$top/build-tsan" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZK_SANITIZE=thread \
    -DZK_BUILD_GUI=OFF -DZK_BUILD_PLUGINS=OFF -DZK_BUILD_CLI=OFF -DZK_BUILD_BENCH=OFF >/dev/null
cmake --build "$top/build-tsan" -j "$jobs"
(cd "$top/build-tsan" && TSAN_OPTIONS=halt_on_error=1 ctest --output-on-failure -j "$jobs" \
    -R 'Threads|RunLoops|LockFreeQueue|EventService')

echo "== libFuzzer on the saved-state reader and the text parsers =="
ZK_FUZZ_SECONDS=${ZK_FUZZ_SECONDS:-20} "$here/fuzz.sh"
