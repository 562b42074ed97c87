# Sourced by the Ardour tests: Ardour 7 with a HOME of its own (configuration,
# plug-in cache and scan results), our plug-in found there, and ardour7-lua runs.

# ardour_home WORK KIND BUNDLE: sets HOME and ardour_plugin (what the Lua script
# asks Ardour for); VST3 bundles are indexed, LV2 bundles put on LV2_PATH.
ardour_home() {
    local work=$1 kind=$2 bundle=$3
    export HOME=$work/home
    mkdir -p "$HOME"
    if [ "$kind" = VST3 ]; then
        ardour_plugin="Zkmorva 20"
        mkdir -p "$HOME/.vst3"
        ln -s "$bundle" "$HOME/.vst3/"
        # Ardour indexes a new VST3 only when asked to: its scanner writes the cache.
        LD_LIBRARY_PATH=/usr/lib/ardour7 timeout 60 /usr/lib/ardour7/ardour-vst3-scanner -q \
            "$HOME/.vst3/$(basename "$bundle")" >"$work/scan.log" 2>&1
    else
        ardour_plugin="urn:zkmorva:zkmorva20"
        mkdir -p "$work/lv2"
        ln -s "$bundle" "$work/lv2/"
        export LV2_PATH=$work/lv2
    fi
}

# ardour_lua MODE SESSION_DIR KIND LOG: one ardour7-lua process running
# ardour_session.lua. Ardour 7.3 may crash while closing a session, so a process
# that crashes after printing "zk: done" has done its work; returns 0 then.
ardour_lua() {
    ZK_MODE=$1 ZK_DIR=$2 ZK_TYPE=$3 ZK_PLUGIN=$ardour_plugin \
        timeout 120 ardour7-lua "$(dirname "${BASH_SOURCE[0]}")/ardour_session.lua" >"$4" 2>&1
    local status=$?
    grep -q '^zk: done' "$4" || return 1
    [ $status = 0 ] || echo "note: ardour7-lua ended with status $status after its work ($1)"
    return 0
}
