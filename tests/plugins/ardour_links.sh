#!/usr/bin/env bash
# Zkmorva 20 in Ardour 7, headless (ardour7-lua, dummy backend), with the links on
# (the default): a session gets a stereo track with the plug-in, "LF L Gain" is
# set to 6, and the host's "LF L Gain" and "LF R Gain" are read and the session
# saved; a new process loads it, reads both again and saves a snapshot. Ardour
# 7.3 may crash while closing a session, so a process that crashes after it
# printed "zk: done" counts as having run; any other failure fails.
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
passed=0 failed=0
check() { # check OK WHAT
    if [ "$1" = 1 ]; then echo "ok: $2"; passed=$((passed + 1)); else echo "FAILED: $2"; failed=$((failed + 1)); fi
}
finish() {
    echo "$passed passed, $failed failed"
    if [ "$failed" = 0 ]; then rm -rf "$work"; else echo "logs in $work"; fi
    exit $((failed != 0))
}
# a == b within float printing
same() { awk -v a="$1" -v b="$2" 'BEGIN { d = a - b; exit !(a != "" && b != "" && d < 1e-4 && d > -1e-4) }' && echo 1 || echo 0; }

# Ardour's configuration, plug-in cache and scan results live in this HOME only.
export HOME=$work/home
mkdir -p "$HOME"
if [ "$kind" = VST3 ]; then
    plugin="Zkmorva 20"
    mkdir -p "$HOME/.vst3"
    ln -s "$bundle" "$HOME/.vst3/"
    # Ardour indexes a new VST3 only when asked to: its scanner writes the cache.
    LD_LIBRARY_PATH=/usr/lib/ardour7 timeout 60 /usr/lib/ardour7/ardour-vst3-scanner -q \
        "$HOME/.vst3/$(basename "$bundle")" >"$work/scan.log" 2>&1
    check $([ $? = 0 ] && echo 1 || echo 0) "Ardour's VST3 scanner indexes $(basename "$bundle")"
else
    plugin="urn:zkmorva:zkmorva20"
    mkdir -p "$work/lv2"
    ln -s "$bundle" "$work/lv2/"
    export LV2_PATH=$work/lv2
fi

# run MODE: one ardour7-lua process; its "zk:" lines on stdout.
run() {
    ZK_MODE=$1 ZK_DIR=$work/session ZK_TYPE=$kind ZK_PLUGIN=$plugin \
        timeout 120 ardour7-lua "$here/ardour_session.lua" >"$work/$1.log" 2>&1
    local status=$?
    if grep -q '^zk: done' "$work/$1.log"; then
        [ $status = 0 ] || echo "note: ardour7-lua ended with status $status after its work ($1)"
        check 1 "$1: ardour7-lua ran the script"
    else
        check 0 "$1: ardour7-lua ran the script (status $status; $(grep -m1 -i 'error' "$work/$1.log"))"
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
