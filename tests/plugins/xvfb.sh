# Sourced by the real-host GUI test scripts: a virtual X server of this test's own.

# xvfb_start WORK SIZE: starts Xvfb on a free display, exports DISPLAY, sets
# xvfb_pid; returns 1 when none comes up.
xvfb_start() {
    local n tries
    for ((n = 90 + $$ % 300, tries = 0; tries < 20; ++n, ++tries)); do
        [ -e "/tmp/.X$n-lock" ] && continue
        Xvfb ":$n" -screen 0 "$2" -nolisten tcp >"$1/xvfb.log" 2>&1 &
        xvfb_pid=$!
        for _ in $(seq 100); do
            [ -e "/tmp/.X11-unix/X$n" ] && { export DISPLAY=":$n"; return 0; }
            kill -0 "$xvfb_pid" 2>/dev/null || break
            sleep 0.02
        done
        kill "$xvfb_pid" 2>/dev/null
        wait "$xvfb_pid" 2>/dev/null
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
