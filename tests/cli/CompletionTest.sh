#!/usr/bin/env bash
# Types command lines up to a Tab, and checks what the shell then offers; also in zsh, if it is installed.
#   CompletionTest.sh BASH_FILE ZSH_FILE COMMAND
set -euo pipefail
bash_file=$(realpath "$1") zsh_file=$(realpath "$2") command=$(realpath "$3")
failures=0
fail() { echo "FAILED: $1"; failures=$((failures + 1)); }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir folder && touch pan.tif 'two words.tif'

bash -n "$bash_file" || fail 'bash does not read it'
. "$bash_file"
offered() { # offered WORD ...: the words offered for the last word of a line
    COMP_WORDS=(pansharp "$@") COMP_CWORD=$#
    _pansharp
    printf '%s\n' "${COMPREPLY[@]}" | sort | paste -sd ' '
}
while IFS='|' read -r words expected; do
    eval "got=\$(offered $words)"
    [ "$got" = "$expected" ] || fail "pansharp $words: offered '$got', expected '$expected'"
done <<'TABLE'
''|assess batch compare info methods sharpen view
--v|--version
sharpen --bit|--bit-depth
sharpen pan.tif --me|--method
sharpen -r ''|bilinear cubic
sharpen --resampling = c|cubic
sharpen --weights ''|auto equal
sharpen --co COMPRESS = D|DEFLATE
sharpen --projwin ''|
sharpen ''|folder pan.tif two words.tif
sharpen --output pa|pan.tif
compare --keep ''|folder
info --alp|
methods ''|
nothing ''|
TABLE

# The words offered for --method are the plug-in's methods.
methods=$("$command" methods --json | grep -oE '"keyword": *"[^"]*"' | cut -d'"' -f4 | tr 'A-Z' 'a-z' | sort | paste -sd ' ')
[ "$(offered sharpen --method '')" = "$methods" ] || fail "the plug-in has the methods '$methods'"
# Every option offered exists.
for each in $(offered ''); do
    help=$("$command" "$each" --help)
    for option in $(offered "$each" -); do
        grep -qE -- "(^|[ ,])$option([ ,]|\$)" <<<"$help" || fail "$each has no option $option"
    done
done

if command -v zsh >/dev/null; then
    zsh -n "$zsh_file" || fail 'zsh does not read it'
    cp "$zsh_file" "$work/folder/_pansharp"
    cat >"$work/try.zsh" <<'ZSH'
# Types, completes, and has the line printed: try.zsh FOLDER TYPED EXPECTED
zmodload zsh/zpty
zpty shell zsh -f -i
zpty -w shell "fpath=($1 \$fpath); autoload -Uz compinit && compinit -u -D; echo rea''dy"
zpty -r shell line '*ready*'
zpty -w -n shell "$2"$'\t\x01print -r -- \x05\n'
zpty -r shell line "*$3*"
ZSH
    while IFS='|' read -r typed expected; do
        timeout 10 zsh -f "$work/try.zsh" "$work/folder" "$typed" "$expected" </dev/null ||
            fail "zsh: '$typed' does not become '$expected'"
    done <<'TABLE'
pansharp meth|pansharp methods
pansharp sharpen --method=b|--method=brovey
pansharp sharpen --bit|--bit-depth
pansharp compare --keep f|--keep folder
TABLE
fi
[ "$failures" -eq 0 ] || exit 1
