#!/bin/sh
# Builds the Debian package in a copy of this folder, build/package, and puts what dpkg-buildpackage makes into out/.
#   scripts/package.sh [arm64]    (another processor: with the system root that `make cross` has made)
set -eu
cd "$(dirname "$0")/.."

work=$PWD/build/package
rm -rf "$work"
mkdir -p "$work/kesto" out
tar -c --exclude=./build --exclude=./out --exclude=./.git . | tar -x -C "$work/kesto"

# Folders that look like packages being built, from whose symbols dpkg-shlibdeps finds the dependencies.
unpack_libraries() {
  for package in "$1".apt/archives/lib*.deb; do
    if dpkg-deb --ctrl-tarfile "$package" | tar -t | grep -qE '^\./(symbols|shlibs)$'; then
      library=$work/libraries/$(dpkg-deb -f "$package" Package)
      mkdir -p "$work/libraries"
      dpkg-deb -R "$package" "$library"
      KESTO_SHLIBDEPS="$KESTO_SHLIBDEPS -S$library"
    fi
  done
}

architecture=$(dpkg --print-architecture)
options="-us -uc -b"
if [ "${1:-$architecture}" != "$architecture" ]; then
  architecture=$1
  root=$PWD/build/$1.root
  [ -e "$root.apt/complete" ] || { echo "package.sh: no system root for '$1': run make cross ARCH=$1 first" >&2; exit 2; }
  KESTO_CMAKE="-DCMAKE_TOOLCHAIN_FILE=$work/kesto/cmake/cross.cmake -DKESTO_SYSROOT=$root"
  KESTO_CMAKE="$KESTO_CMAKE -DKESTO_PROCESSOR=$(dpkg-architecture -a"$1" -qDEB_HOST_GNU_CPU)"
  KESTO_SHLIBDEPS=""
  unpack_libraries "$root"
  export KESTO_CMAKE KESTO_SHLIBDEPS
  # Without a look at the build dependencies: they are in the system root.
  options="$options -d -a$1"
fi
export DEB_BUILD_OPTIONS="${DEB_BUILD_OPTIONS:-terse}"
# shellcheck disable=SC2086
(cd "$work/kesto" && dpkg-buildpackage $options)
rm -rf "$work/kesto" "$work/libraries"
# Those of earlier versions go, so that a pattern names one package.
rm -f out/*_"$architecture".*
mv "$work"/* out/
