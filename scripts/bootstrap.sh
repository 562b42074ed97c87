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

# A locale with a decimal comma, so that the tests of locale-independent value
# strings and parsing run (they skip that part where none is installed).
if ! locale -a 2>/dev/null | grep -qi '^de_DE\.utf-\?8$'; then
    if [ "$(id -u)" -eq 0 ]; then sudo=(); else sudo=(sudo); fi
    "${sudo[@]}" localedef -i de_DE -f UTF-8 de_DE.UTF-8 ||
        echo "bootstrap: could not generate de_DE.UTF-8; the decimal-comma tests will skip"
fi

cmake -S "$top" -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@"
cmake --build "$build_dir" -j "$(nproc)"
