#!/usr/bin/env bash
# check_symbols.sh NM LIBRARY EXPORTS IMPORTS: the library defines exactly the names of EXPORTS and, of the names that a
# host can supply (platform log, sibling library, OpenCL, EGL), leaves exactly those of IMPORTS undefined.
set -euo pipefail
export LC_ALL=C
nm=$1 library=$2 exports=$3 imports=$4
status=0

compare() { # TITLE LIST; names on standard input
    diff --label "$2" --label "$library" -u <(sort "$2") - || { echo "$1 differ" >&2; status=1; }
}

compare "defined names" "$exports" < <("$nm" -D --defined-only "$library" | awk '{ print $NF }' | sort)
compare "imported names" "$imports" < <("$nm" -D --undefined-only "$library" | awk '{ print $NF }' |
    { grep -E '^(__android_log_|peerSet|cl[A-Z]|egl[A-Z])' || true; } | sed 's/@.*//' | sort)
exit $status
