#!/usr/bin/env bash
# Counts the lines of the tests (.cpp/.h/.c under tests/) and of the code
# (.cpp/.h/.c under the source folders) and prints their ratio; the house goal
# is tests at most a third of the code.
#   bash scripts/count-lines.sh           print the counts
#   bash scripts/count-lines.sh --check   also exit 1 when the tests are over a third
set -euo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$top"
case ${1:-} in
"" | --check) ;;
*) echo "usage: $0 [--check]" >&2; exit 2 ;;
esac

# Total lines of the C and C++ sources under the given folders (missing ones count 0).
lines() {
    local dirs=()
    for d in "$@"; do
        [[ -d $d ]] && dirs+=("$d")
    done
    ((${#dirs[@]})) || { echo 0; return; }
    find "${dirs[@]}" -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.c' \) -print0 |
        xargs -0 cat -- | wc -l
}

tests=$(lines tests)
code=$(lines dsp framework units widgets editor plugins cli bench resources)
if ((code == 0)); then
    echo "count-lines: no code found under $top" >&2
    exit 2
fi
# Tenths of a per cent, in integers; over a third when 3 x tests > code.
tenths=$(((tests * 1000 + code / 2) / code))
echo "tests $tests lines, code $code lines: $((tenths / 10)).$((tenths % 10)) % (goal at most 33.3 %)"
if [[ ${1:-} == --check ]] && ((3 * tests > code)); then
    echo "count-lines: the tests are over a third of the code" >&2
    exit 1
fi
