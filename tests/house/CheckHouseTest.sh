#!/usr/bin/env bash
# Builds a small house that keeps the rules, breaks each once, and expects the check to report only these breaches.
#   CheckHouseTest.sh CHECK_HOUSE
set -euo pipefail
check=$1
house=$(mktemp -d)
trap 'rm -rf "$house"' EXIT
failures=0

write() { mkdir -p "$house/$(dirname "$1")" && printf '%b\n' "$2" >"$house/$1"; }
named() { ("$check" "$house" 2>/dev/null || true) | grep -q "$1"; }
fail() { echo "FAILED: $1"; failures=$((failures + 1)); }

write src/fundament/Text.h '#include <string>'
write src/fundament/XmlDocument.cpp '#include <libxml/parser.h>'
write src/kernels/Row.cpp '#include "hwy/highway.h"\n#include "kernels/Row.h"\n#include <cstdint>'
write src/host/IRaster.h '#include "fundament/Text.h"'
write src/pxl/Image.h '#include "host/IRaster.h"\n#include "kernels/Row.h"'
write src/plugin/Entry.cpp '#include "pxl/Image.h"'
write src/rasterhost/Raster.cpp '# include <gdal_priv.h>\n#include "host/IRaster.h"'
write src/cli/Main.cpp '#include "rasterhost/fusing/Sharpen.h"\n#include <CLI/CLI.hpp>'
write tests/pxl/ImageEdgesTest.cpp '// reads ../data, writes build/tmp/x and <https://example.org/home/page>'
write bindings/python/Arrays.cpp '#include <pansharp.h>\n#include <pybind11/pybind11.h>\n#include <string>'
write tests/house/NoFolderOfThatNameTest.cpp ''
"$check" "$house" >"$house/out" 2>&1 || fail "a house in order passes: $(cat "$house/out")"

long=$(printf '\\n%.0s' {1..501})
row=0 expected=()
while IFS='|' read -r file text words; do
    row=$((row + 1))
    write "$file" "${text/LONG/$long}"
    expected+=("$file:|$words")
done <<'TABLE'
src/pxl/Bad.h|\n#include "operators/Blend.h"|src/pxl/Bad.h:2: pxl/ includes operators/Blend.h, which is on a higher floor
src/host/Bad.h|#include "pxl/Image.h"|higher floor
src/rasterhost/Bad.h|#include "pansharp/PanSharp.h"|the host wing includes pansharp/PanSharp.h of the plug-in wing
src/rasterhost/reading/Bad.h|#include "rasterhost/fusing/Sharpen.h"|the room reading/ includes rasterhost/fusing/Sharpen.h, which is on a higher floor
src/rasterhost/BadToo.h|#include "rasterhost/scene/Scene.h"|put the file into one of them
src/cli/Bad.cpp|#include "pxl/Image.h"|the host wing includes pxl/Image.h
src/plugin/Bad.cpp|#include "rasterhost/Raster.h"|the plug-in wing includes rasterhost/Raster.h
src/pansharp/Bad.cpp|#include <tbb/parallel_for.h>|only the host wing may
src/pxl/Bad.cpp|  #  include "cpl_conv.h"|only the host wing may
src/fundament/Bad.cpp|#include <libxml/parser.h>|only the host wing may
src/hostkit/Bad.h|#include <gdal.h>|does without GDAL
src/kernels/Bad.h|#include "host/IRaster.h"|a kernel includes host/IRaster.h
src/kernels/BadToo.h|#include <immintrin.h>|a kernel includes immintrin.h
bindings/python/Bad.cpp|\n#include "capi/FuseJob.h"|bindings/python/Bad.cpp:2: bindings/ stands on the C interface only
src/attic/Bad.h|#include <vector>|no floor is known for attic/
src/pxl/BadToo.h|#include "Image.h"|names no folder
src/fundament/Bad.h|#include "kernels/Row.h"\n#include "host/IRaster.h"|higher floor
tests/pxl/GhostTest.cpp||not named after anything in src/pxl/
src/pxl/BadMore.h|LONG|longer than 500 lines
docs/bad.md|see \0057home/me/pansharp|a path of one machine
scripts/bad|echo "x" >\0057tmp/log|a path of one machine
TABLE
"$check" "$house" >"$house/out" 2>/dev/null && fail 'breaches pass'
[ "$(grep -vc 'in a circle' "$house/out")" -eq "$row" ] || fail "$row breaches expected: $(cat "$house/out")"
for words in "${expected[@]}"; do
    grep -F "${words%%|*}" "$house/out" | grep -qF "${words#*|}" || fail "expected '${words#*|}' of ${words%%|*}"
done
find "$house" -name 'Bad*' -delete && rm "$house/docs/bad.md" "$house/scripts/bad" "$house/tests/pxl/GhostTest.cpp"
write src/pxl/Bad.h '// TO''DO'
named 'src/pxl/Bad.h:1: left open' || fail 'an open end passes'
write src/pxl/Bad.h ''

# Two folders of one floor that include each other: neither include is wrong by itself.
write src/pansharp/Bad.h '#include "colourspace/Bad.h"'
"$check" "$house" >/dev/null 2>&1 || fail 'one folder on its neighbour passes'
write src/colourspace/Bad.h '#include "pansharp/Bad.h"'
named 'circle: .*colourspace' || fail 'a circle passes'

[ "$failures" -eq 0 ] && echo "$((row + 4)) cases passed"
