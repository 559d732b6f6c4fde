#!/bin/sh
# same_bytes.sh MODEL PROGRAM...: each program, called with the model and a text,
# writes the same bytes.
set -eu
export LC_ALL=C.UTF-8  # how Java reads its arguments
model=$1
shift
text=$(printf 'hello world. the cat sat!\n\ngood morning \360\237\230\200\nxyzzy hello')
first=
for program; do
  got=$($program "$model" "$text")
  [ -n "$got" ] || { echo "$program wrote nothing"; exit 1; }
  [ -n "$first" ] || first=$got
  [ "$got" = "$first" ] || { printf '%s wrote\n%s\nand not\n%s\n' "$program" "$got" "$first"; exit 1; }
done
printf '%s\n' "$first"
