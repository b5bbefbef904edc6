#!/usr/bin/env bash
# Whoever asks for Wayland's layers gets them or an error that names what is missing, never a build without them.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "$0")")/../.." && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

configure() {
    cmake -G Ninja -S "$root" -B "$folder/build" -DKESTRUM_TESTS=OFF -DKESTRUM_BENCHMARKS=OFF "$@" >"$folder/said" 2>&1
}

# lacks NAME VARIABLE: a machine on which VARIABLE comes out empty is told that NAME is missing.
lacks() {
    rm -rf "$folder/build"
    if configure "-D$2="; then
        echo "configured without $1, but should not" >&2
        exit 1
    fi
    # CMake breaks lines between words.
    tr -s '\n ' ' ' <"$folder/said" | grep -qF "KESTRUM_LAYER_SHELL is on, but these are missing: $1." || {
        cat "$folder/said" >&2
        exit 1
    }
}

lacks "wayland-scanner" WAYLAND_SCANNER
lacks "Qt's private header qpa/qplatformnativeinterface.h" QT_HAS_NATIVE_INTERFACE
rm -rf "$folder/build"
configure -DKESTRUM_LAYER_SHELL=OFF -DWAYLAND_SCANNER= || {
    cat "$folder/said" >&2
    exit 1
}
echo "layer shell: 2 missing things are errors, and none is with the option off"
