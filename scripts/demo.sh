#!/usr/bin/env bash
# Sets up everything (packages, build), then renders the built-in demo signal through
# the units with a showcase setting: WAV files, response plots and presets land in
# one folder (default: zkmorva-demo/ at the top of the checkout).
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
top=$(dirname "$here")
"$here/bootstrap.sh"
out=${1:-$top/zkmorva-demo}
"${ZK_BUILD_DIR:-$top/build}/cli/zkmorva" demo "$out"
