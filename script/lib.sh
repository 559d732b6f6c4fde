# Shared by the scripts of this folder: source it, do not run it.
set -euo pipefail
export LC_ALL=C.UTF-8
KORA_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$KORA_ROOT"

say() { printf '\033[1m== %s\033[0m\n' "$*" >&2; }
die() { printf 'error: %s\n' "$*" >&2; exit 1; }

# configure_and_build PRESET [TARGET...]
configure_and_build() {
  local preset=$1
  shift
  say "configuring and building preset '$preset' in build/$preset"
  local made_in
  made_in=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "build/$preset/CMakeCache.txt" 2>/dev/null || true)
  [ -z "$made_in" ] || [ "$made_in" = "$PWD" ] ||
    die "build/$preset was made when this folder was $made_in; remove it and run again: rm -r build/$preset"
  cmake --preset "$preset" >"/tmp/kora-configure-$preset-$$.log" 2>&1 || {
    cat "/tmp/kora-configure-$preset-$$.log" >&2
    die "cmake could not configure preset '$preset'"
  }
  rm -f "/tmp/kora-configure-$preset-$$.log"
  if [ $# -gt 0 ]; then cmake --build --preset "$preset" --target "$@"; else cmake --build --preset "$preset"; fi
}

# every file that clang-format and the other checks look at
sources() {
  git ls-files --cached --others --exclude-standard -- '*.cpp' '*.h' '*.c' | while read -r f; do [ -e "$f" ] && printf '%s\n' "$f"; done
}

# the same for black and flake8
python_sources() {
  git ls-files --cached --others --exclude-standard -- '*.py' '*.pyi' script | while read -r f; do
    [ -f "$f" ] || continue
    case $f in *.py | *.pyi) ;; *) head -n 1 "$f" | grep -q '^#!.*python' || continue ;; esac
    printf '%s\n' "$f"
  done | sort -u
}
