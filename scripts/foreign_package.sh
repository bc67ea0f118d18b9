#!/bin/sh
# Makes the Debian package for another processor from what `make cross` has built, in out/. It depends on what the
# package for this processor depends on, whose libraries dpkg knows.
#   scripts/foreign_package.sh arm64
set -eu
cd "$(dirname "$0")/.."

own=$(ls out/printer-driver-kesto_*_"$(dpkg --print-architecture)".deb)
cpack --config "build/$1/CPackConfig.cmake" -B out -D CPACK_DEBIAN_PACKAGE_ARCHITECTURE="$1" \
  -D CPACK_DEBIAN_PACKAGE_SHLIBDEPS=OFF -D CPACK_DEBIAN_PACKAGE_DEPENDS="$(dpkg-deb -f "$own" Depends)"
