# Sourced by the real-host GUI test scripts: a virtual X server of this test's own.

# xvfb_start WORK SIZE: starts Xvfb on a display it finds free itself, exports
# DISPLAY, sets xvfb_pid; returns 1 when none comes up.
xvfb_start() {
    Xvfb -displayfd 3 -screen 0 "$2" -nolisten tcp 3>"$1/display" >"$1/xvfb.log" 2>&1 &
    xvfb_pid=$!
    for _ in $(seq 200); do
        if [ -s "$1/display" ]; then
            export DISPLAY=":$(tr -d '\n' <"$1/display")"
            return 0
        fi
        kill -0 "$xvfb_pid" 2>/dev/null || return 1
        sleep 0.05
    done
    return 1
}

xvfb_stop() {
    [ -n "${xvfb_pid:-}" ] && kill "$xvfb_pid" 2>/dev/null && wait "$xvfb_pid" 2>/dev/null
    xvfb_pid=
}

# wait_window PATTERN [SECONDS]: prints the id of the first visible window whose
# name matches, once there is one.
wait_window() {
    local id
    for _ in $(seq $((${2:-30} * 10))); do
        id=$(xdotool search --onlyvisible --name "$1" 2>/dev/null | head -1)
        [ -n "$id" ] && { echo "$id"; return 0; }
        sleep 0.1
    done
    return 1
}

# A picture that shows something: more than a few hundred colours.
drawn() { [ "$(identify -format %k "$1" 2>/dev/null || echo 0)" -gt 300 ] && echo 1 || echo 0; }
