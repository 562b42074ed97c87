#!/usr/bin/env bash
# Installs every Debian package the project needs (only those missing), then
# configures and builds into build/. Safe to run again; works as root or via sudo.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
top=$(dirname "$here")
build_dir=${ZK_BUILD_DIR:-$top/build}

mapfile -t wanted < <(grep -v -E '^\s*(#|$)' "$here/packages.txt")
missing=()
for pkg in "${wanted[@]}"; do
    dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed' || missing+=("$pkg")
done
if [ ${#missing[@]} -gt 0 ]; then
    if [ "$(id -u)" -eq 0 ]; then sudo=(); else sudo=(sudo); fi
    echo "bootstrap: installing ${missing[*]}"
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
fi

cmake -S "$top" -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@"
cmake --build "$build_dir" -j "$(nproc)"
