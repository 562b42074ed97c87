#!/usr/bin/env bash
# Builds everything with the address and undefined-behaviour sanitizers into
# build-asan/ and runs every test suite there. The real-host tests that load our
# plug-ins into programs built without the sanitizers (jalv, the JACK apps) are
# left out: an instrumented library cannot load into them.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
top=$(dirname "$here")
build=${ZK_ASAN_BUILD_DIR:-$top/build-asan}
jobs=$(nproc)

cmake -S "$top" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZK_SANITIZE=address \
    -DZK_BUILD_BENCH=OFF >/dev/null
cmake --build "$build" -j "$jobs"
export ASAN_OPTIONS=detect_leaks=1:halt_on_error=1:abort_on_error=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
(cd "$build" && ctest --output-on-failure -j "$jobs" -E 'plugins_jalv|plugins_jack_app')
