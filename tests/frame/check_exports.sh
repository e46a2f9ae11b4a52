#!/bin/sh
# The library exports the names of the list, and nothing else. Names of the sanitizers' do not count.
set -eu
library=$1
list=$2
names=$(nm -D --defined-only "$library" | awk '{print $NF}' | grep -v '^__\(odr_\)\?asan' | LC_ALL=C sort)
[ -n "$names" ]
printf '%s\n' "$names" | diff -u "$list" -
