#!/bin/sh
# Unpacks Debian's libraries for another processor into a folder, beside whatever this system has installed; needs no
# root. The packages come from the archive that this system uses, and stay in FOLDER.apt. Other packages than last time
# make the folder anew.
#   scripts/sysroot.sh ARCHITECTURE FOLDER PACKAGE...
set -eu

architecture=$1
folder=$2
shift 2
state=$(realpath -m "$folder.apt")
[ "$(cat "$state/complete" 2>/dev/null)" = "$*" ] && exit 0

# An apt of its own, which knows of no package that is installed.
rm -rf "$folder" "$state"
mkdir -p "$folder" "$state/lists/partial" "$state/archives/partial"
: >"$state/status"
own_apt() {
  apt-get -q -o APT::Architecture="$architecture" -o APT::Architectures="$architecture" -o Debug::NoLocking=1 \
    -o Dir::State="$state" -o Dir::State::status="$state/status" -o Dir::Cache="$state" "$@"
}
own_apt update >"$state/log"
own_apt install -y --download-only --no-install-recommends "$@" >>"$state/log"
for package in "$state"/archives/*.deb; do dpkg-deb -x "$package" "$folder"; done
echo "$*" >"$state/complete"
