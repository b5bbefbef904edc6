#!/usr/bin/env bash
# HardeningTest.sh BUILD_TYPE PROGRAM...: the programs are built as distributions build theirs.
set -euo pipefail
type=$1
shift
export LC_ALL=C

missing=0
# has PROGRAM WHAT PATTERN COMMAND...: what the command says of the program.
has() {
    local program=$1 what=$2 pattern=$3 said
    shift 3
    said=$("$@" "$program" 2>&1)
    grep -qE "$pattern" <<<"$said" || {
        echo "${program##*/} has no $what" >&2
        missing=1
    }
}

for program in "$@"; do
    has "$program" "place of its own at each start" 'FLAGS_1.*PIE' readelf -W --dynamic
    has "$program" "table of functions that is closed to writing" '^ *GNU_RELRO ' readelf -W --program-headers
    has "$program" "binding at the start, before that table is closed" 'FLAGS.*(BIND_NOW|NOW)' readelf -W --dynamic
    has "$program" "stack that cannot be executed" '^ *GNU_STACK .* RW +0x' readelf -W --program-headers
    has "$program" "guarded stack" ' UND +__stack_chk_fail' readelf -W --dyn-syms
    # The program's own mark would need a C library that is built so too.
    [ "$(uname -m)" != x86_64 ] || has "$program" "mark of where jumps may lead" endbr64 objdump --disassemble=main
    # What is not optimised cannot be fortified.
    case $type in
    Rel* | MinSizeRel) has "$program" "fortified calls" ' UND +__[a-z]+_chk@' readelf -W --dyn-syms ;;
    esac
done
[ "$missing" = 0 ] || exit 1
echo "hardened: ${*##*/}"
