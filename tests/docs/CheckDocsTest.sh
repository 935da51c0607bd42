#!/usr/bin/env bash
# Breaks a small set of pages, and a small site, in one way at a time, and expects the check to report that fault.
#   CheckDocsTest.sh CHECK_DOCS
set -euo pipefail
check=$1
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
failures=0
fail() { echo "FAILED: $1"; failures=$((failures + 1)); }

mkdir -p "$root/docs" "$root/site"
printf 'int a;\nint b;\nint c;\n' >"$root/code.cpp"
printf '# The *first*, `b` page\n## ERGAS: 4/5\n[here](#the-first-b-page)\n' >"$root/docs/a.md"
row=0
while IFS='|' read -r text expected; do
    row=$((row + 1))
    printf '%b\n' "$text" >"$root/README.md"
    said=$("$check" "$root" 2>&1) && status=0 || status=1
    [ "$status:$said" = "1:$expected" ] || [ "$status:$said" = "0:$expected" ] || fail "row $row: expected '$expected', got '$said'"
    [ "$expected" = 'no fault' ] || [ "$status" = 1 ] || fail "row $row passes: $text"
done <<'TABLE'
[a](docs/a.md) [b](docs/a.md#ergas-45) [c](https://example.org) `[d](nowhere.md)`|no fault
```\n[a](nowhere.md)\n```|no fault
[a](docs/b.md)|README.md:1: links to docs/b.md, which does not exist
\n[a](docs/a.md#second)|README.md:2: links to #second, but a.md has no such heading
[a](#top)|README.md:1: links to #top, but README.md has no such heading
[a](..)|README.md:1: links outside the repository: ..
```\nopen|README.md:1: the listing is not closed
<!-- from code.cpp -->\n```cpp\nint b;\nint c;\n```|no fault
<!-- from code.cpp -->\n```cpp\nint a;\nint c;\n```|README.md:2: the listing differs from code.cpp
<!-- from gone.cpp -->\n```cpp\nint a;\n```|README.md:2: an excerpt of gone.cpp, which does not exist
TABLE

while IFS='|' read -r text expected; do
    row=$((row + 1))
    printf '%b\n' "$text" >"$root/site/index.html"
    said=$("$check" --site "$root/site" 2>&1) || true
    [ "$said" = "$expected" ] || fail "row $row: expected '$expected', got '$said'"
done <<'TABLE'
<a id="x" href="#x">|no fault
<a href="#y">|index.html:1: links to #y, an anchor that does not exist
<img src="no.png">|index.html:1: links to no.png, which does not exist
<a href="https://example.org/">|index.html:1: links to another server: https://example.org/
<p>see \0057home/me/x</p>|index.html:1: a path on the build machine
TABLE
[ "$failures" -eq 0 ] && echo "$row cases passed"
