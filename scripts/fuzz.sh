#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (address and undefined-behaviour
# sanitizers on) into build-fuzz/ and runs them side by side, each for
# ZK_FUZZ_SECONDS (default 30) from the committed seeds. Any crash, leak, timeout
# or sanitizer report fails the run; libFuzzer leaves the input that caused it in
# build-fuzz/fuzz-<target>/.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
top=$(dirname "$here")
build=${ZK_FUZZ_BUILD_DIR:-$top/build-fuzz}
seconds=${ZK_FUZZ_SECONDS:-30}

CC=clang CXX=clang++ cmake -S "$top" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DZK_BUILD_FUZZ=ON -DZK_BUILD_TESTS=OFF -DZK_BUILD_BENCH=OFF -DZK_BUILD_PLUGINS=OFF \
    -DZK_BUILD_CLI=OFF \
    "-DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer" \
    >/dev/null
cmake --build "$build" -j "$(nproc)" --target zk_fuzz_saved_state zk_fuzz_text_parse

export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
# The targets run side by side (one core each), each for the full time.
fuzz() {
    local target=$1 work="$build/fuzz-$1"
    mkdir -p "$work/corpus"
    cp "$top"/tests/fuzz/seeds/"$target"/* "$work/corpus/"
    local dict=()
    [ -f "$top/tests/fuzz/$target.dict" ] && dict=(-dict="$top/tests/fuzz/$target.dict")
    (cd "$work" && "$build/tests/fuzz/zk_fuzz_$target" "${dict[@]}" -max_total_time="$seconds" \
        -max_len=65536 -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 corpus) >"$work/log" 2>&1
}
targets=(saved_state text_parse)
pids=()
for target in "${targets[@]}"; do
    echo "== fuzzing $target for $seconds s =="
    fuzz "$target" &
    pids+=($!)
done
failed=0
for i in "${!targets[@]}"; do
    target=${targets[$i]}
    work="$build/fuzz-$target"
    rc=0
    wait "${pids[$i]}" || rc=$?
    echo "$target:"
    grep -E 'stat::number_of_executed_units|stat::peak_rss_mb' "$work/log" || true
    if [ $rc -ne 0 ]; then
        tail -n 60 "$work/log" >&2
        echo "fuzz: $target failed; the input is in $work" >&2
        failed=1
    fi
done
exit $failed
