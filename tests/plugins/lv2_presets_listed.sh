#!/usr/bin/env bash
# The factory presets as command-line LV2 hosts list them: lv2ls finds the plug-in,
# lv2info and lv2file -L name exactly the unit's library (zkmorva presets).
#   lv2_presets_listed.sh LV2_DIR URI ZKMORVA UNIT
set -euo pipefail
export LV2_PATH=$1
uri=$2 zkmorva=$3 unit=$4
for tool in lv2ls lv2info lv2file; do
    command -v $tool >/dev/null || { echo "SKIPPED: $tool not installed (lilv-utils, lv2file)"; exit 0; }
done
expected=$("$zkmorva" presets "$unit" --json | sed -n 's/.*"name": "\(.*\)", "description".*/\1/p' | sort)
lv2ls | grep -qx "$uri" || { echo "lv2ls does not list $uri"; echo "0 passed, 1 failed"; exit 1; }
listed=$(lv2file -L "$uri" 2>/dev/null | sed -n 's/^Preset: //p' | sort)
info=$(lv2info "$uri" | awk '/^\tPresets:/{p=1; sub(/^\tPresets: */, ""); if ($0 != "") print; next}
                             p && /^\t /{sub(/^\t */, ""); print; next} {p=0}' | sort)
failed=0
[ "$listed" = "$expected" ] || { echo "lv2file -L lists:"; echo "$listed"; failed=1; }
[ "$info" = "$expected" ] || { echo "lv2info lists:"; echo "$info"; failed=1; }
if [ $failed -ne 0 ]; then
    echo "expected:"; echo "$expected"; echo "0 passed, 1 failed"; exit 1
fi
echo "$(echo "$expected" | wc -l) presets listed by lv2info and lv2file"
echo "1 passed, 0 failed"
