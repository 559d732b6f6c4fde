#!/bin/sh
# exports_test.sh LIBRARY LIST HAS_JAVA: the library exports the names of the list
# and nothing else, and imports nothing that ends the process.
set -eu
names=$("${NM:-nm}" -D --defined-only "$1" | awk '{ print $3 }' | grep -v '^__[a-z]*san_' | LC_ALL=C sort)
wanted=$(LC_ALL=C sort "$2")
[ "$3" = 1 ] || wanted=$(printf '%s\n' "$wanted" | grep -v '^Java_')
if [ "$names" != "$wanted" ]; then
  printf '%s\n' "$names" > exports.got
  printf '%s\n' "$wanted" | diff - exports.got || true
  echo "the exported names (>) differ from $2 (<)"
  exit 1
fi
ends=$("${NM:-nm}" -D --undefined-only "$1" | awk '{ print $2 }' | sed 's/@.*//' |
  grep -xE 'abort|exit|_exit|_Exit|quick_exit|raise|kill' || true)
[ -z "$ends" ] || { echo "imports what ends the process: $ends"; exit 1; }
echo "$(printf '%s\n' "$names" | wc -l) names, as listed"
