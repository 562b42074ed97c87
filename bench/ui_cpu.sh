#!/usr/bin/env bash
# CPU of the Zkmorva 20 editor with its spectrum analyser off and on, in a real
# window: jalv showing the LV2 UI under Xvfb with pink noise playing, SECONDS
# (default 20) each, at 1x and at DPF scale 2 (bench/UiCpu.cpp). Not a CI test:
# the figures depend on the machine and on what else runs on it.
#
#   bench/ui_cpu.sh [SECONDS]
# ZK_UI_CPU_BUILD_DIR (default build) is the build directory (GUI and plug-ins on).
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
top=$(dirname "$here")
build=$(realpath -m "${ZK_UI_CPU_BUILD_DIR:-$top/build}")
seconds=${1:-20}

cmake -S "$top" -B "$build" >/dev/null
cmake --build "$build" -j "$(nproc)" --target zk_bench_ui_cpu >/dev/null
# An LV2 path with our bundle alone.
lv2=$(mktemp -d /tmp/zk-ui-cpu-lv2-XXXXXX)
trap 'rm -rf "$lv2"' EXIT
ln -s "$build/bin/zkmorva20.lv2" "$lv2/"
for scale in 1 2; do
    "$build/bench/zk_bench_ui_cpu" urn:zkmorva:zkmorva20 "$lv2" "$build/ui-shots" "$seconds" "$scale"
    echo
done
