#!/bin/sh
# exported_symbols.sh LIBRARY HEADER...: fails if the library exports a name that none of its
# installed headers has.
set -eu
library=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
words() { grep -oE '[A-Za-z_][A-Za-z0-9_]*' | sort -u; }

# A template of the standard library that gives a type of ours starts with that type, and so fits
# the export map; a build for debugging has some.
nm -D --defined-only --demangle "$library" | cut -d ' ' -f 3- | grep -v '^ZORVA.* std::' |
    sed -E 's/^(vtable|typeinfo|typeinfo name|VTT) for //; s/\[abi:[^]]*\]//g; s/\(.*//' >"$work/symbols"
[ -s "$work/symbols" ] || { echo "nothing is exported"; exit 1; }
words <"$work/symbols" >"$work/exported"
cat "$@" | sed 's,//.*,,' | words >"$work/declared"
foreign=$(comm -23 "$work/exported" "$work/declared")
if [ -n "$foreign" ]; then
    echo "exported, but in no installed header:"
    for word in $foreign; do grep -w "$word" "$work/symbols"; done
    exit 1
fi
