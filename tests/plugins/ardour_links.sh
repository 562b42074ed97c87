#!/usr/bin/env bash
# Zkmorva 20 in Ardour 7, headless (ardour7-lua, dummy backend), with the links on
# (the default): a session gets a stereo track with the plug-in, "LF L Gain" is
# set to 6, and the host's "LF L Gain" and "LF R Gain" are read and the session
# saved; a new process loads it, reads both again and saves a snapshot. Ardour
# 7.3 may crash while closing a session: see ardour_env.sh.
# Expected: "LF L Gain" 6 and "LF R Gain" EXPECTED_R both times (VST3 hears of the
# unit moving the partner, Ardour's LV2 host cannot), and the unit's own saved
# state (LV2 state file, or the VST3 chunk in the session XML) holds what the
# host shows.
#   ardour_links.sh LV2|VST3 BUNDLE RENDERER EXPECTED_R
set -uo pipefail
kind=$1 bundle=$(realpath "$2") renderer=$3 wantR=$4
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
command -v ardour7-lua >/dev/null || { echo "SKIPPED: ardour7-lua not installed (ardour)"; exit 0; }

work=$(mktemp -d /tmp/zk-ardour-XXXXXX)
. "$here/checks.sh"
# a == b within float printing
same() { awk -v a="$1" -v b="$2" 'BEGIN { d = a - b; exit !(a != "" && b != "" && d < 1e-4 && d > -1e-4) }' && echo 1 || echo 0; }

. "$here/ardour_env.sh"
ardour_home "$work" "$kind" "$bundle"
if [ "$kind" = VST3 ]; then
    check $([ -n "$(ls "$HOME/.cache/ardour7/vst/" 2>/dev/null)" ] && echo 1 || echo 0) \
        "Ardour's VST3 scanner indexes $(basename "$bundle")"
fi

# run MODE: one ardour7-lua process; its "zk:" lines in $work/MODE.log.
run() {
    if ardour_lua "$1" "$work/session" "$kind" "$work/$1.log"; then
        check 1 "$1: ardour7-lua ran the script"
    else
        check 0 "$1: ardour7-lua ran the script ($(grep -m1 -i 'error' "$work/$1.log"))"
    fi
}
host_value() { # MODE LABEL COLUMN(1: control, 2: plug-in parameter)
    sed -n "s/^zk: $2 = //p" "$work/$1.log" | awk -v c="$3" '{ print $c }'
}
# The unit's own document inside a saved file (LV2 state.ttl or decoded VST3 chunk).
unit_value() { # FILE LABEL
    perl -0777 -ne 'print $1 if /(<\?xml.*?<\/plist>)/s' "$1" >"$1.xml"
    "$renderer" preset show "$1.xml" --json 2>/dev/null |
        sed -n "s/^ *\"$2\": {\"value\": \([^,]*\),.*/\1/p"
}
unit_state() { # SNAPSHOT -> a file holding the unit's document
    local xml=$work/session/$1.ardour
    if [ "$kind" = VST3 ]; then
        grep -o '<chunk>[^<]*' "$xml" | head -1 | sed 's/<chunk>//' | base64 -d >"$work/$1.state"
    else
        local dir
        dir=$(grep -o 'state-dir="[^"]*"' "$xml" | head -1 | sed 's/state-dir="\(.*\)"/\1/')
        cat "$work"/session/plugins/*/"$dir"/state.ttl >"$work/$1.state" 2>/dev/null
    fi
    echo "$work/$1.state"
}

for mode in save load; do
    run $mode
    snapshot=zk
    [ $mode = load ] && snapshot=reloaded
    state=$(unit_state $snapshot)
    for side in "L 6" "R $wantR"; do
        set -- $side
        label="LF $1 Gain"
        control=$(host_value $mode "$label" 1) param=$(host_value $mode "$label" 2)
        unit=$(unit_value "$state" "$label")
        check "$(same "$control" "$2")" "$mode: the host's $label is $2 (got ${control:-nothing})"
        check "$(same "$param" "$control")" \
            "$mode: Ardour's $kind parameter agrees with its control (${param:-nothing})"
        check "$(same "$unit" "$control")" \
            "$mode: the unit's saved state holds $label = ${unit:-nothing}, as the host shows"
    done
done
finish
