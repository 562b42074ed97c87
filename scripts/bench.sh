#!/usr/bin/env bash
# Runs every benchmark and prints one report: the machine's multiply-add limit,
# our processors and units, the plug-ins as hosts run them at 16, 32, 64, 256 and
# 1024 frames (a block's cost, a host change every block, 64 instances), and our
# LV2 plug-ins side by side with the peer equalisers at each of those block
# lengths (timed by bench/peers/Lv2PeerHost.cpp on the same 48 kHz stereo noise),
# with the ratio columns. Medians, CPU time, every timing on one core; runs that
# are compared alternate. Safe to run again.
#
#   scripts/bench.sh [--quick]
# ZK_BENCH_BUILD_DIR (default build-bench) is the build directory; our LV2
# plug-ins are built there, or taken from ZK_LV2_DIR when set.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
top=$(dirname "$here")
# Absolute: the LV2 path below is made from it, and lilv needs absolute entries.
build=$(realpath -m "${ZK_BENCH_BUILD_DIR:-$top/build-bench}")
reps=5
pairs=9
peer_rounds=3
peer_seconds=2
blocks=(16 32 64 256 1024)
if [ "${1:-}" = "--quick" ]; then reps=3; pairs=3; peer_rounds=1; peer_seconds=0.5; fi

mapfile -t wanted < <(grep -h -v -E '^\s*(#|$)' "$here/packages.txt" "$here/packages-bench.txt")
missing=()
for pkg in "${wanted[@]}"; do
    dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed' || missing+=("$pkg")
done
if [ ${#missing[@]} -gt 0 ]; then
    if [ "$(id -u)" -eq 0 ]; then sudo=(); else sudo=(sudo); fi
    echo "bench: installing ${missing[*]}"
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
fi

cmake -S "$top" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZK_BUILD_TESTS=OFF \
    -DZK_BUILD_GUI=OFF -DZK_BUILD_CLI=OFF >/dev/null
targets=(zk_bench_limit zk_bench_dsp zk_bench_units zk_bench_plugin)
if [ -z "${ZK_LV2_DIR:-}" ]; then
    targets+=(zkmorva20-lv2 zkmorva10-stereo-lv2)
fi
cmake --build "$build" -j "$(nproc)" --target "${targets[@]}"
# The peer host is built here only, so that CI's build needs no LV2 libraries.
c++ -std=c++20 -O2 -Wall -Wextra -ffp-contract=off "$top/bench/peers/Lv2PeerHost.cpp" \
    $(pkg-config --cflags --libs lilv-0) -o "$build/zk_lv2_peer_host"

# Every timing on one core, the last: on this kind of shared machine the unit's
# runs on the first core (where the system's interrupts land) or moved between
# cores measured up to a third slower than on the last, minutes apart.
pin=()
if command -v taskset >/dev/null && [ "$(nproc)" -gt 1 ]; then
    pin=(taskset -c "$(($(nproc) - 1))")
fi

out=$build/bench-results
mkdir -p "$out"
common=(--benchmark_repetitions="$reps" --benchmark_report_aggregates_only=true
        --benchmark_format=json)
echo "bench: machine limit"
"${pin[@]}" "$build/bench/zk_bench_limit" "${common[@]}" >"$out/limit.json"
echo "bench: processors"
"${pin[@]}" "$build/bench/zk_bench_dsp" "${common[@]}" --benchmark_filter='Processor' >"$out/processors.json"
echo "bench: units"
"${pin[@]}" "$build/bench/zk_bench_units" "${common[@]}" >"$out/units.json"
# The plug-in suites compare runs with each other (short blocks with long ones,
# swept with unchanged, 64 instances with one): their repetitions interleave, so
# that this machine's drift over minutes (shared cores) moves both sides alike.
echo "bench: plug-ins by block length"
"${pin[@]}" "$build/bench/zk_bench_plugin" "${common[@]}" --benchmark_enable_random_interleaving=true \
    --benchmark_min_time=0.2 >"$out/plugin.json"
# The limit and our unit in alternation, one short run each: a ratio of two runs
# taken minutes apart moves with the drift; each pair here is seconds apart.
echo "bench: limit ratio, paired runs"
runs_line() { python3 -c 'import json,sys; print(json.dumps(json.load(sys.stdin)["benchmarks"]))'; }
: >"$out/paired.jsonl"
for _ in $(seq "$pairs"); do
    "${pin[@]}" "$build/bench/zk_bench_limit" --benchmark_filter='Avx2|Avx512' --benchmark_min_time=0.2 \
        --benchmark_format=json | runs_line >>"$out/paired.jsonl"
    "${pin[@]}" "$build/bench/zk_bench_units" --benchmark_filter='Zkmorva20Unit/48000Hz/all' \
        --benchmark_min_time=0.2 --benchmark_format=json | runs_line >>"$out/paired.jsonl"
done

echo "bench: peers and ours as LV2, ${blocks[*]} frames, $peer_rounds round(s)"
# Only the complete bundles: a build's bin/ also holds the JACK apps, which lilv
# would try to read as bundles, and the folders of bundles this build did not make.
lv2_dir=${ZK_LV2_DIR:-$build/bin}
rm -rf "$out/lv2" && mkdir -p "$out/lv2"
for bundle in "$lv2_dir"/*.lv2; do
    [ -f "$bundle/manifest.ttl" ] && ln -s "$(cd "$bundle" && pwd)" "$out/lv2/"
done
export LV2_PATH="$out/lv2:${LV2_PATH:-$HOME/.lv2:/usr/local/lib/lv2:/usr/lib/lv2}"
# Rounds of every block length and plug-in in turn; the table takes each
# figure's median over the rounds.
: >"$out/peers.txt"
for round in $(seq "$peer_rounds"); do
    for block in "${blocks[@]}"; do
        for scenario in "$top"/bench/peers/scenarios/*.scn; do
            "${pin[@]}" "$build/zk_lv2_peer_host" "$scenario" --seconds "$peer_seconds" --repeats 1 \
                --block "$block" >>"$out/peers.txt"
        done
    done
    echo "  round $round done"
done

python3 "$here/bench_table.py" "$out"
