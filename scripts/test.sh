#!/usr/bin/env bash
# Sets up everything (packages, build) and runs every test suite.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
top=$(dirname "$here")
"$here/bootstrap.sh"
cd "$top/build"
ctest --output-on-failure -j "$(nproc)"
