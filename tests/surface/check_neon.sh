#!/usr/bin/env bash
# check_neon.sh OBJDUMP ARCHIVE: the kernels that are written in vectors are NEON code on AArch64. Each must have functions
# of the NEON target that use the instructions its form rests on, and none of the scalar fallback.
set -euo pipefail
objdump=$1 archive=$2
status=0

check() { # OBJECT INSTRUCTION...
    local code instruction
    code=$("$objdump" -d --no-show-raw-insn "$archive" | awk -v object="$1.cpp.o:" '
        /file format/ { inside = $1 == object }
        inside && />:$/ { print; neon = /N_NEON/ }
        inside && neon')
    grep -q 'N_NEON' <<<"$code" || { echo "$1: no function of the NEON target" >&2; status=1; }
    ! grep -q 'N_SCALAR\|N_EMU128' <<<"$code" || { echo "$1: scalar functions" >&2; status=1; }
    for instruction in "${@:2}"; do
        grep -qE "[[:space:]]$instruction[[:space:]]+v[0-9]+\.(16b|8h|4s)" <<<"$code" ||
            { echo "$1: no $instruction on a whole vector" >&2; status=1; }
    done
}

check recursive_filter tbl tbx
check bilinear_scale tbl smlal2
check warp_rows tbl umlal
check wavelet_sweep tbl sqrdmulh urhadd
check shrink_band sqrdmulh
exit $status
