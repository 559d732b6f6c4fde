#!/bin/sh
# glibc_test.sh LIBRARY...: the libraries run with glibc 2.33, so on Debian 12 and Ubuntu 22.04, and
# on what is newer.
set -eu
for library in "$@"; do
  highest=$("${READELF:-readelf}" -VW "$library" | grep -o 'GLIBC_[0-9.]*' | sed 's/GLIBC_//' | sort -V | tail -1)
  [ -n "$highest" ] || { echo "$library names no version of glibc"; exit 1; }
  [ "$(printf '%s\n2.33\n' "$highest" | sort -V | tail -1)" = 2.33 ] ||
    { echo "$library needs glibc $highest:"; "${NM:-nm}" -D --undefined-only "$library" | grep "GLIBC_$highest"; exit 1; }
  echo "$(basename "$library"): glibc $highest"
done
