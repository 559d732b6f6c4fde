#!/usr/bin/env bash
# moved_test.sh SOURCE: a build folder that another checkout made is named, with the remedy.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/script" "$work/build/release"
cp "$1/script/lib.sh" "$work/script/"
echo 'CMAKE_HOME_DIRECTORY:INTERNAL=/elsewhere/kora' > "$work/build/release/CMakeCache.txt"
if got=$(bash -c '. "$1/script/lib.sh"; configure_and_build release' - "$work" 2>&1); then
  echo 'a moved build folder was taken'
  exit 1
fi
case $got in
  *"build/release was made when this folder was /elsewhere/kora; remove it and run again: rm -r build/release"*) ;;
  *) echo "the message is: $got"; exit 1 ;;
esac
