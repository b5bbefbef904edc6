#!/usr/bin/env bash
# The pages of the handbook that are made are what the manual and the built kestrumctl say now.
#   HandbookTest.sh KESTRUMCTL
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "$0")")/../.." && pwd)
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
export HOME=$home XDG_RUNTIME_DIR=$home
unset XDG_CONFIG_HOME

for page in settings commands; do
    "$root/tools/handbook" "$page" "$1" >"$home/$page.md"
    diff -u "$root/docs/$page.md" "$home/$page.md" || { echo "make docs/$page.md anew by tools/handbook $page" >&2; exit 1; }
done
# Each setting has its row: the tool has not lost one on the way.
keys=$(sed '/^\.SH COLOURS/,$d' "$root/docs/man/kestrum-settings.5" | grep -cE '^\.BR [A-Za-z]+ " \(')
rows=$(grep -c '^| `' "$root/docs/settings.md")
((keys > 0 && keys == rows)) || { echo "$keys settings in the manual, $rows on the page" >&2; exit 1; }
echo "handbook: $rows settings and every verb's help are on the pages"
