#!/bin/sh
# Every function of the public headers has a contract: a /// comment above it, or above the group of
# declarations, without an empty line between, that it stands in. And every name that the library
# exports is named in one of the headers; those of other libraries' types are told in a comment.
# usage: tools/check_contracts.sh EXPORTS HEADER...
set -eu
exports=$1
shift

awk '
    FNR == 1 || /^[[:space:]]*$/ { documented = 0 }
    /^\/\/\// { documented = 1 }
    /^VARN_API / {
        functions++
        if (!documented) {
            printf "%s:%d: no contract: %s\n", FILENAME, FNR, $0
            bare++
        }
    }
    END {
        printf "%d functions, %d without a contract\n", functions, bare
        exit bare > 0 || functions == 0
    }' "$@"

named=$(grep -ohE '\<[A-Za-z_][A-Za-z0-9_]*\>' "$@" | LC_ALL=C sort -u)
unnamed=$(printf '%s\n' "$named" | LC_ALL=C comm -13 - "$exports")
if [ -n "$unnamed" ]; then
    printf 'exported, and in no header: %s\n' "$unnamed"
    exit 1
fi
