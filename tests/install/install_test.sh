#!/bin/sh
# install_test.sh BUILD SOURCE MODEL LIBDIR: installs into a fresh folder, moves it, and
# builds outside projects with it in every way that docs/linking.md names: an installed package of
# CMake, a subdirectory, pkg-config, Meson, Java. All must write the same bytes.
set -eu
build=$1 source=$2 model=$3 libdir=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/first" > "$work/log" || { cat "$work/log"; exit 1; }
mv "$work/first" "$work/prefix"  # nothing may remember where it was installed
prefix=$work/prefix

for file in bin/kora include/kora/kora.h include/kora/kora_c.h "$libdir/libtranslator_jni.so" \
  "$libdir/liblexicut.so" "$libdir/pkgconfig/kora.pc" "$libdir/cmake/kora/koraConfig.cmake"; do
  [ -e "$prefix/$file" ] || { echo "not installed: $file"; exit 1; }
done

# A man page for each command, and bash completes from the installed file.
for page in kora $("$prefix/bin/kora" --help | sed -n '/^Subcommands:/,$s/^  \([a-z]*\) .*/kora-\1/p'); do
  file=$prefix/share/man/man1/$page.1
  [ -s "$file" ] || { echo "no man page $page"; exit 1; }
  if command -v man > /dev/null; then
    [ -z "$(man --warnings -E UTF-8 -l -Tutf8 -Z "$file" 2>&1 > /dev/null)" ] ||
      { echo "$page is not a clean man page"; exit 1; }
  fi
done
for page in "$source"/docs/format-*.md; do  # and one for each file format
  name=$(basename "$page" .md)
  [ -s "$prefix/share/man/man5/kora-${name#format-}.5" ] || { echo "no man page for $page"; exit 1; }
done
[ "$(ls "$prefix/share/man/man1" | wc -l)" -gt 15 ] || { echo 'man pages are missing'; exit 1; }
if command -v bash > /dev/null; then
  # shellcheck disable=SC2016
  got=$(bash -c '. "$1"; COMP_WORDS=(kora tra) COMP_CWORD=1; _kora; echo "${COMPREPLY[*]}"' - \
    "$prefix/share/bash-completion/completions/kora")
  [ "$got" = 'train translate' ] || { echo "bash completes kora tra to '$got'"; exit 1; }
fi
! grep -rIlF "$source" "$prefix" || { echo 'an installed text names the source folder'; exit 1; }

mkdir "$work/outside" "$work/subdirectory" "$work/meson"
for way in outside subdirectory meson; do
  cp "$source/tests/install/$way/"* "$source/tests/face/translate.c" \
    "$source/tests/face/translate.cpp" "$work/$way/"
done
quietly() { "$@" > "$work/log" 2>&1 || { cat "$work/log"; exit 1; }; }

quietly cmake -S "$work/outside" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix"
quietly cmake --build "$work/cmake"
quietly cmake -S "$work/subdirectory" -B "$work/sub" -G Ninja -DKORA_SOURCE="$source"
quietly cmake --build "$work/sub"

export PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"
flags=$(pkg-config --cflags --libs kora)
mkdir "$work/pc"
# shellcheck disable=SC2086
cc -std=c11 -Wall -Werror -pedantic "$work/outside/translate.c" -o "$work/pc/c" $flags
for standard in 17 20; do
  # shellcheck disable=SC2086
  c++ -std=c++$standard -Wall -Werror -pedantic "$work/outside/translate.cpp" -o "$work/pc/cpp$standard" $flags
done
quietly meson setup "$work/meson/build" "$work/meson"
quietly meson compile -C "$work/meson/build"

export LD_LIBRARY_PATH="$prefix/$libdir"
set -- "$work/cmake/outside_c" "$work/cmake/outside_cpp" "$work/sub/outside_c" "$work/sub/outside_cpp" \
  "$work/pc/c" "$work/pc/cpp17" "$work/pc/cpp20" "$work/meson/build/outside_c" "$work/meson/build/outside_cpp"
jar=$prefix/share/java/kora.jar
if [ -e "$jar" ]; then
  quietly javac -cp "$jar" -d "$work/java" "$source/tests/face/FaceTest.java"
  set -- "$@" "java -cp $jar:$work/java FaceTest"
fi
"$source/tests/face/same_bytes.sh" "$model" "$@"
got=$(echo 'hello world' | "$prefix/bin/kora" translate -m "$model")
[ "$got" = '你好世界' ] || { echo "the installed command wrote '$got'"; exit 1; }

# A program says which version of the names it needs, and a library without it is refused.
readelf -VW "$work/pc/c" | grep -q 'Name: KORA_1.0' || { echo 'a program needs no version'; exit 1; }
