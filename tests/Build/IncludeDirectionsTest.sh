#!/usr/bin/env bash
# The include check passes on this tree, and fails on each kind of line that it is there to find.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "$0")")/../.." && pwd)
"$root/tools/check-includes"

tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
mkdir -p "$tree"/{Platform/{Log,Files,Store},KestrumAgent/Panel,KestrumShared/{Settings,Text},Kestrum/Form,Kestrum/Window,kestrumctl}

# finds FILE LINE WORDS: the check fails on LINE in FILE and says WORDS.
finds() {
    echo "$2" >"$tree/$1"
    if said=$("$root/tools/check-includes" "$tree" 2>&1); then
        echo "passed, but should not: $1: $2" >&2
        exit 1
    fi
    [[ $said == *"$1:1"*"$3"* ]] || { echo "said of $1: $said" >&2; exit 1; }
    rm "$tree/$1"
}

finds Platform/Log/A.h '#include "KestrumShared/Text/Units.h"' 'Platform/Log may not include'
finds Platform/Files/A.h '#include "Platform/Store/UserDefaults.h"' 'Platform/Files may not include'
finds Platform/A.h '#include "Platform/Log/Log.h"' 'Platform has no room'
finds KestrumShared/Text/A.cpp '#  include "Kestrum/Window/A.h"' 'KestrumShared/Text may not include'
finds KestrumShared/Settings/A.h '#include "KestrumShared/Text/Units.h"' 'KestrumShared/Settings may not include'
finds Kestrum/Form/A.h '#include "Kestrum/Window/A.h"' 'Kestrum/Form may not include'
finds Kestrum/Window/A.h '#include "kestrumctl/Verb.h"' 'Kestrum may not include'
finds kestrumctl/A.cpp '#include "Kestrum/Window/A.h"' 'kestrumctl may not include'
finds Kestrum/Window/A.cpp '#include "A.h"' 'not written from the root'
finds KestrumShared/Text/A.cpp '#include <sys/stat.h>' 'only Platform'
finds KestrumAgent/Panel/A.cpp '#include <unistd.h>' 'only Platform'

echo '#include "Kestrum/Form/Card.h"' >"$tree/Kestrum/Window/A.h"
echo '#include "Platform/Log/Log.h"' >"$tree/KestrumShared/Text/A.h"
"$root/tools/check-includes" "$tree"
echo "include directions: 11 kinds of wrong lines found, right ones pass"
