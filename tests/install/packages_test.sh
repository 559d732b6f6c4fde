#!/bin/bash
# packages_test.sh FOLDER MODEL: what a user does with the packages of a folder, in a bare Debian made for
# it: installs them, runs the command, a program in C and the binding of Python, upgrades, purges.
# Needs root and mmdebstrap.
set -euo pipefail
# In a mount namespace of its own: whatever happens, nothing stays mounted and no file of this
# system is reached when the folder is removed.
if [ "${KORA_OWN_MOUNTS:-}" != 1 ]; then
  KORA_OWN_MOUNTS=1 exec unshare --mount --propagation private --fork --kill-child "$0" "$@"
fi
here=$(cd "$(dirname "$0")/../.." && pwd)
debs=$(realpath "$1")
root=$(mktemp -d)
ended() {
  umount -lq "$root"/dev/shm "$root"/dev/pts "$root"/dev "$root"/proc 2> /dev/null || true
  rm -rf --one-file-system "$root"
}
trap ended EXIT
chmod 755 "$root"
echo 'making a bare system'
mmdebstrap --mode=root --quiet --variant=minbase --include=gcc,libc6-dev,pkg-config,python3-minimal bookworm "$root" \
  "${KORA_MIRROR:-http://deb.debian.org/debian}"
mount -t proc proc "$root/proc"
mount --bind /dev "$root/dev"
cp /etc/resolv.conf "$root/etc/resolv.conf"
inside() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"; }
files() { (cd "$root" && find . -xdev \( -path ./proc -o -path ./dev -o -path ./tmp -o -path ./var -o -path ./root \) -prune -o -print | sort); }

mkdir "$root/tmp/new" "$root/tmp/old"
cp "$debs"/*.deb "$root/tmp/new/"
# The release before, to upgrade from: the same contents as 1.0.0-0.
for deb in "$root"/tmp/new/*.deb; do
  rm -rf "$root/tmp/tree"
  dpkg-deb -R "$deb" "$root/tmp/tree"
  sed -i -E 's/^(Version: .*)-1$/\1-0/; /^Depends:/s/= ([0-9.]+)-1/= \1-0/g' "$root/tmp/tree/DEBIAN/control"
  dpkg-deb --root-owner-group -b "$root/tmp/tree" "$root/tmp/old/$(basename "${deb//-1_/-0_}")" > /dev/null
done
# What the packages depend on stays when they go, so it comes first.
inside apt-get update -qq
inside sh -c 'apt-get install -y -qq --no-install-recommends /tmp/old/*.deb > /tmp/log 2>&1' || { tail -20 "$root/tmp/log"; exit 1; }
names=$(for deb in "$debs"/*.deb; do dpkg-deb -f "$deb" Package; done)
# shellcheck disable=SC2086
inside sh -c "apt-get purge -y -qq $(echo $names) > /tmp/log 2>&1"
files > "$root/tmp/before"

works() {
  [ "$(inside sh -c 'echo "hello world" | kora translate -m /tmp/model')" = '你好世界' ]
  inside sh -c 'cd /tmp && gcc -std=c11 translate.c -o translate_c $(pkg-config --cflags --libs kora)'
  [ "$(inside /tmp/translate_c /tmp/model 'hello world')" = '你好世界' ]
  inside test -e "/usr/lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)/jni/libtranslator_jni.so"
  inside sh -c 'test -s /usr/share/man/man1/kora-train.1.gz -a -s /usr/share/doc/kora/ports.md.gz -o -s /usr/share/doc/kora/ports.md'
  inside test -s /usr/share/kora/rules/en-zh.rules
  if [[ $names = *python3-kora* ]]; then
    [ "$(inside python3 -c 'import kora; print(kora.Translator("/tmp/model").translate("hello world"))')" = '你好世界' ]
  fi
}
cp -r "$2" "$root/tmp/model"
cp "$here/tests/face/translate.c" "$root/tmp/"
install_all() { inside sh -c "apt-get install -y -qq --no-install-recommends /tmp/$1/*.deb > /tmp/log 2>&1" || { tail -20 "$root/tmp/log"; exit 1; }; }
version() { inside dpkg-query -W -f '${Version}' libkora1; }
install_all old
works
[[ $(version) = *-0 ]]
echo 'installed: the command, a C program and the bindings work'
install_all new
works
[[ $(version) = *-1 ]]
echo 'upgraded: the same'
# shellcheck disable=SC2086
inside sh -c "apt-get purge -y -qq $(echo $names) > /tmp/log 2>&1"
files > "$root/tmp/after"
diff "$root/tmp/before" "$root/tmp/after" || { echo 'purging left files, or took some'; exit 1; }
! inside sh -c 'command -v kora' || { echo 'the command is still there'; exit 1; }
echo 'purged: nothing is left'
