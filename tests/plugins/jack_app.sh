#!/usr/bin/env bash
# A JACK app starts against jackd's dummy driver, shows its ports, and stops
# cleanly (exit status 0) on SIGTERM.
#   jack_app.sh APP CLIENT_NAME CHANNELS
set -uo pipefail
app=$1 client=$2 channels=$3
for bin in jackd jack_lsp; do
    command -v $bin >/dev/null || { echo "SKIPPED: $bin not installed (jackd2)"; exit 0; }
done
# The one name of every test's server (see JalvRoundTrip.cpp).
export JACK_DEFAULT_SERVER="zk-test-server" JACK_NO_AUDIO_RESERVATION=1
log=$(mktemp -d)
jackd --no-realtime -d dummy -r 48000 -p 256 >"$log/jackd.log" 2>&1 &
jackd_pid=$!
app_pid=
cleanup() {
    [ -n "$app_pid" ] && kill -KILL "$app_pid" 2>/dev/null
    kill -TERM "$jackd_pid" 2>/dev/null
    wait "$jackd_pid" 2>/dev/null
    rm -rf "$log"
}
trap cleanup EXIT
fail() { echo "FAILED: $*"; for f in "$log"/*.log; do echo "--- $f"; tail -20 "$f"; done; echo "0 passed, 1 failed"; exit 1; }

for _ in $(seq 100); do jack_lsp >/dev/null 2>&1 && break; sleep 0.05; done
jack_lsp >/dev/null 2>&1 || fail "jackd did not start"

"$app" >"$log/app.log" 2>&1 &
app_pid=$!
want=$((2 * channels)) # audio ins and outs
for _ in $(seq 200); do
    n=$(jack_lsp 2>/dev/null | grep -c "^$client:" || true)
    [ "$n" -ge "$want" ] && break
    sleep 0.05
done
[ "${n:-0}" -ge "$want" ] || fail "$client did not register $want ports (found ${n:-0})"
kill -0 "$app_pid" 2>/dev/null || fail "$client exited early"

kill -TERM "$app_pid"
for _ in $(seq 100); do kill -0 "$app_pid" 2>/dev/null || break; sleep 0.05; done
kill -0 "$app_pid" 2>/dev/null && fail "$client ignored SIGTERM"
wait "$app_pid"; status=$?
app_pid=
[ "$status" -eq 0 ] || fail "$client exited with status $status on SIGTERM"
jack_lsp 2>/dev/null | grep -q "^$client:" && fail "$client left ports behind"
echo "1 passed, 0 failed"
