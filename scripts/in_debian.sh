#!/bin/bash
# Runs a command in a clone of this repository's HEAD on another release of Debian, in a folder that holds a system of
# its own: build/RELEASE, made on the first call. Root only, for it mounts /proc and /dev there while the command runs.
#   scripts/in_debian.sh trixie make test
set -eu
cd "$(dirname "$0")/.."

release=$1
system=$PWD/build/$release
shift
[ "$(id -u)" -eq 0 ] || { echo "in_debian.sh: only root can enter another system" >&2; exit 2; }

if [ ! -e "$system/root/project" ]; then
  command -v debootstrap >/dev/null || apt-get install -y -q --no-install-recommends debootstrap >/dev/null
  # The archive that this system's own packages come from.
  archive=$(apt-cache policy make | awk '/https?:/ { print $2; exit }')
  mkdir -p build
  debootstrap --variant=minbase --include=ca-certificates,git,make "$release" "$system" "$archive" >"$system.log"
  cp -a /etc/apt/apt.conf.d/. "$system/etc/apt/apt.conf.d/"
  git clone -q . "$system/root/project"
fi
git -C "$system/root/project" fetch -q "$PWD" HEAD
git -C "$system/root/project" reset -q --hard FETCH_HEAD
cp /etc/resolv.conf "$system/etc/"

leave() { umount -R "$system/dev" "$system/proc"; }
mount -t proc proc "$system/proc"
mount --rbind /dev "$system/dev"
mount --make-rslave "$system/dev"
trap leave EXIT
chroot "$system" env HOME=/root LC_ALL=C.UTF-8 sh -c 'cd /root/project && exec "$@"' sh "$@"
