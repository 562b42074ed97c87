#!/usr/bin/env bash
# Sets up everything (packages, build), then renders the built-in demo signal through
# the units with a showcase setting: WAV files, response plots and presets land in
# one folder (default: demo/ in the build folder).
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
top=$(dirname "$here")
"$here/bootstrap.sh"
build_dir=${ZK_BUILD_DIR:-$top/build}
out=${1:-$build_dir/demo}
"$build_dir/cli/zkmorva" demo "$out"
