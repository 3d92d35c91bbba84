#!/usr/bin/env bash
# check_neon.sh OBJDUMP ARCHIVE: the kernels that ship are NEON code on AArch64. Each object must use the instructions that
# its form rests on, and hold no function of a scalar fallback.
set -euo pipefail
objdump=$1 archive=$2
status=0

check() { # OBJECT INSTRUCTION...
    local code instruction
    # Before each member's code stands its name, with LLVM in parentheses behind the archive's.
    code=$("$objdump" -d --no-show-raw-insn "$archive" |
        awk -v member="(^|\\()$1[.]cpp[.]o\\)?:\$" '/file format/ { inside = $1 ~ member } inside')
    ! grep -q 'N_SCALAR\|N_EMU128' <<<"$code" || { echo "$1: scalar functions" >&2; status=1; }
    for instruction in "${@:2}"; do
        grep -qE "[[:space:]]$instruction[[:space:]]+v[0-9]+\.(16b|8h|4s)" <<<"$code" ||
            { echo "$1: no $instruction on a whole vector" >&2; status=1; }
    done
}

check recursive_filter sqrshrn2 sqabs tbl tbx zip1 zip2 mla
check shrink_band sqxtn2 tbl tbx sqrdmulh saddw2
check lifting53 uhadd shadd usubl2
check gradient_planes sabd uqxtn2 urhadd
check remix_detail uabd usubl2 sqrdmulh uzp1
check detail_map tbl tbx umin umax
check plane_convert umin umax
check chroma_edges uabd uqadd usubl2 abs
check chroma_gain uabd umlal2 tbl tbx sqxtun2
check binomial3x3 urhadd
check resample_down uadalp addp rshrn2 urhadd
check resample_up umlal2 rshrn2 sri
check bilinear_scale tbl "smlal2?" uzp2
check bilinear_whole uadalp mla shrn2
check warp_rows tbl umlal2 urshr
check wavelet_sweep tbl sqrdmulh urhadd
check q7_convert sqrshrun2
check ghost_filter cmgt
check mask_bits umax cmeq
exit $status
