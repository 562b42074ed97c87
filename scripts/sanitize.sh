#!/usr/bin/env bash
# Builds everything with the address and undefined-behaviour sanitizers into
# build-asan/ (or $ZK_ASAN_BUILD_DIR) and runs every test suite there. The real-host
# tests that load our plug-ins into programs built without the sanitizers (jalv, the
# JACK apps, the UI windows shown by jalv) are left out: an instrumented library
# cannot load into them. Leaks inside fontconfig's own caches are suppressed
# (scripts/lsan.supp says why); print_suppressions=0 keeps LeakSanitizer's summary of
# them out of the programs' stderr, which the command-line tests check line by line.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
top=$(dirname "$here")
build=${ZK_ASAN_BUILD_DIR:-$top/build-asan}
jobs=$(nproc)

cmake -S "$top" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZK_SANITIZE=address \
    -DZK_BUILD_BENCH=OFF >/dev/null
cmake --build "$build" -j "$jobs"
export ASAN_OPTIONS=detect_leaks=1:halt_on_error=1:abort_on_error=1
export LSAN_OPTIONS=suppressions=$here/lsan.supp:print_suppressions=0
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
(cd "$build" && ctest --output-on-failure -j "$jobs" -E 'plugins_jalv|plugins_jack_app|plugins_ui_window')
