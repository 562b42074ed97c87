#!/usr/bin/env bash
# Zkmorva 20's editor, as VST3 or LV2, in Ardour 7's GUI under Xvfb. A session made headless
# (ardour_session.lua) is given the plug-in window as open, as Ardour itself saves
# it, so that the GUI opens the editor when it loads the session on its dummy
# backend. The editor's window is photographed to SHOT_DIR, then Ardour is quit
# from its Session menu (closing the editor with the session) and must end cleanly.
#   ardour_editor.sh VST3|LV2 BUNDLE SHOT_DIR
set -uo pipefail
kind=$1 bundle=$(realpath "$2") shots=$3
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
for tool in ardour ardour7-lua Xvfb xdotool import; do
    command -v $tool >/dev/null || { echo "SKIPPED: $tool not installed (scripts/packages.txt)"; exit 0; }
done
work=$(mktemp -d /tmp/zk-ardour-gui-XXXXXX)
. "$here/checks.sh"
. "$here/xvfb.sh"
. "$here/ardour_env.sh"
ardour_pid=
cleanup() {
    [ -n "$ardour_pid" ] && kill -KILL "$ardour_pid" 2>/dev/null
    xvfb_stop
}
trap cleanup EXIT

ardour_home "$work" "$kind" "$bundle"
session=$work/session
ardour_lua save "$session" "$kind" "$work/save.log"
window=$(sed -n 's/^zk: window //p' "$work/save.log")
check $([ -n "$window" ] && echo 1 || echo 0) "a session with the $kind made headless ($window)"
[ -n "$window" ] || finish
# The plug-in window open, as Ardour saves it in the session's GUI state.
sed -i "s|</Session>|  <Extra><UI><Window name=\"$window\" visible=\"1\" x-off=\"0\" y-off=\"0\" x-size=\"-1\" y-size=\"-1\" custom-ui=\"1\"/></UI></Extra>\n</Session>|" \
    "$session/zk.ardour"

# The GUI: past its first-run wizard (.a7), on the dummy backend, started at once.
mkdir -p "$HOME/.config/ardour7"
touch "$HOME/.config/ardour7/.a7"
cat >"$HOME/.config/ardour7/config" <<'EOF'
<?xml version="1.0" encoding="UTF-8"?>
<Ardour>
  <Config>
    <Option name="hide-dummy-backend" value="0"/>
    <Option name="try-autostart-engine" value="1"/>
  </Config>
  <Extra>
    <AudioMIDISetup>
      <EngineStates>
        <State backend="None (Dummy)" driver="Normal Speed" device="Silence" input-device="" output-device="" sample-rate="48000" buffer-size="1024" n-periods="0" input-latency="0" output-latency="0" lm-input="" lm-output="" active="1" use-buffered-io="0" midi-option="1 in, 1 out, Silence" lru="1">
          <MIDIDevices/>
        </State>
      </EngineStates>
    </AudioMIDISetup>
  </Extra>
</Ardour>
EOF

xvfb_start "$work" 1600x1000x24 || { check 0 "Xvfb starts"; finish; }
ardour -n -a "$session/zk.ardour" >"$work/ardour.log" 2>&1 &
ardour_pid=$!
editor=$(wait_window "^eq: Zkmorva 20" 60)
check $([ -n "$editor" ] && echo 1 || echo 0) "Ardour opens the $kind editor ($(xdotool getwindowname "$editor" 2>/dev/null))"
if [ -z "$editor" ]; then
    import -window root "$work/screen.png"
    finish
fi
sleep 2 # the editor draws, its meters start
mkdir -p "$shots"
shot=$shots/ardour-${kind,,}-zkmorva20.png
import -window "$editor" "$shot"
check "$(drawn "$shot")" "picture of the editor in Ardour: $shot"

# Quit through the Session menu (the plug-in window moved off the menu bar; the
# open menu holds the keyboard, so no key reaches the editor). Ardour closes the
# editor with the session and must end with status 0, without an X error.
xdotool windowmove "$editor" 300 400
main=$(xdotool search --onlyvisible --name ' - Ardour' 2>/dev/null | head -1)
sleep 0.5
xdotool mousemove --window "$main" 30 10 click 1 sleep 0.5 key Up sleep 0.3 key Return
for _ in $(seq 300); do kill -0 "$ardour_pid" 2>/dev/null || break; sleep 0.1; done
if kill -0 "$ardour_pid" 2>/dev/null; then
    import -window root "$work/screen.png"
    check 0 "Ardour quits with the editor open (still running; screen in $work)"
else
    wait "$ardour_pid"
    status=$?
    ardour_pid=
    xerror=$(grep -m1 "X Window System error" -A3 "$work/ardour.log" | grep "The error was" | tr -d "'")
    check $([ $status = 0 ] && [ -z "$xerror" ] && echo 1 || echo 0) \
        "Ardour closes the editor and quits cleanly (status $status${xerror:+; $xerror})"
fi
finish
