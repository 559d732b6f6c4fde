#!/bin/sh
# install_test.sh BUILD SOURCE MODEL LIBDIR: installs into a fresh folder, moves it, and
# builds an outside project against it with CMake and with pkg-config.
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
! grep -rIlF "$source" "$prefix" || { echo 'an installed text names the source folder'; exit 1; }

mkdir "$work/outside"
cp "$source/tests/install/outside/CMakeLists.txt" "$source/tests/face/translate.c" \
  "$source/tests/face/translate.cpp" "$work/outside/"
cmake -S "$work/outside" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" > "$work/log"
cmake --build "$work/cmake" > "$work/log" || { cat "$work/log"; exit 1; }

export PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"
flags=$(pkg-config --cflags --libs kora)
mkdir "$work/pc"
# shellcheck disable=SC2086
cc -std=c11 -Wall -Werror -pedantic "$work/outside/translate.c" -o "$work/pc/c" $flags
# shellcheck disable=SC2086
c++ -std=c++17 -Wall -Werror -pedantic "$work/outside/translate.cpp" -o "$work/pc/cpp" $flags

export LD_LIBRARY_PATH="$prefix/$libdir"
"$source/tests/face/same_bytes.sh" "$model" "$work/cmake/outside_c" "$work/cmake/outside_cpp" \
  "$work/pc/c" "$work/pc/cpp"
got=$(echo 'hello world' | "$prefix/bin/kora" translate -m "$model")
[ "$got" = '你好世界' ] || { echo "the installed command wrote '$got'"; exit 1; }
