#!/usr/bin/env bash
# Every link and picture of the pages leads to a file of this tree, and the check finds one that does not.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "$0")")/../.." && pwd)

# broken FOLDER: prints each link of the folder's pages that leads nowhere. Links to other hosts are not followed.
broken() {
    local page link
    find "$1" -name build -prune -o -name .git -prune -o -name '*.md' -print | while read -r page; do
        { grep -oE '\]\([^) ]+\)|(src|href)="[^"]+"' "$page" || true; } | sed -E 's/^(\]\(|src="|href=")//; s/[)"]$//; s/#.*//' |
            while read -r link; do
                [[ -z $link || $link == *:* || -e $(dirname "$page")/$link ]] || echo "${page#"$1"/}: $link"
            done
    done
}

tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
mkdir "$tree/docs"
echo '[a](docs/b.md) [c](docs/gone.md#part) [d](https://localhost/e) <img src="gone.png"> [f](#part)' >"$tree/a.md"
echo '[a](../a.md) [b](a.md)' >"$tree/docs/b.md"
found=$(broken "$tree" | sort)
[[ $found == $'a.md: docs/gone.md\na.md: gone.png\ndocs/b.md: a.md' ]] || { echo "found in the sample: $found" >&2; exit 1; }

found=$(broken "$root")
[[ -z $found ]] || { echo "links that lead nowhere: $found" >&2; exit 1; }
echo "page links: all lead to files"
