# Sourced by the real-host test scripts: one line per check, a count at the end.
# The script sets `work` (its scratch folder: removed on success, kept and named
# on failure).
passed=0 failed=0
check() { # check 1|0 WHAT
    if [ "$1" = 1 ]; then
        echo "ok: $2"
        passed=$((passed + 1))
    else
        echo "FAILED: $2"
        failed=$((failed + 1))
    fi
}
finish() {
    echo "$passed passed, $failed failed"
    if [ "$failed" = 0 ]; then rm -rf "$work"; else echo "logs in $work"; fi
    exit $((failed != 0))
}
