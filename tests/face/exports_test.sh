#!/bin/sh
# exports_test.sh LIBRARY LIST HAS_JAVA [ABI]: the library exports the names of the list and
# nothing else, each with its version, and imports nothing that ends the process. ABI is the file
# that holds the signature of every function of C.
set -eu
symbols=$("${NM:-nm}" -D --defined-only --with-symbol-versions "$1" | awk '$2 != "A" { print $3 }' |
  grep -v '^__[a-z]*san_' | LC_ALL=C sort)
bare=$(printf '%s\n' "$symbols" | grep -v '@@KORA_1\.[0-9]*$' || true)
[ -z "$bare" ] || { echo "exported without a version: $bare"; exit 1; }
names=$(printf '%s\n' "$symbols" | sed 's/@@.*//')
wanted=$(LC_ALL=C sort "$2")
[ "$3" = 1 ] || wanted=$(printf '%s\n' "$wanted" | grep -v '^Java_')
if [ "$names" != "$wanted" ]; then
  printf '%s\n' "$names" > exports.got
  printf '%s\n' "$wanted" | diff - exports.got || true
  echo "the exported names (>) differ from $2 (<)"
  exit 1
fi
if [ -n "${4:-}" ]; then
  for name in $(printf '%s\n' "$names" | grep '^kora_c_'); do
    grep -q "^SAME($name," "$4" || { echo "the signature of $name is not kept in $4"; exit 1; }
  done
fi
ends=$("${NM:-nm}" -D --undefined-only "$1" | awk '{ print $2 }' | sed 's/@.*//' |
  grep -xE 'abort|exit|_exit|_Exit|quick_exit|raise|kill' || true)
[ -z "$ends" ] || { echo "imports what ends the process: $ends"; exit 1; }
echo "$(printf '%s\n' "$names" | wc -l) names, as listed"
