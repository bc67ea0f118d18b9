#!/bin/sh
# Installs the Debian packages that a make target needs; does nothing when they are there.
#   scripts/setup.sh build|test|coverage|package|cross|bench|lint
set -eu

build="g++ cmake make libcups2-dev libcupsimage2-dev cups-ppdc cups-client cups-filters
  libcli11-dev nlohmann-json3-dev libjpeg62-turbo-dev libpappl-dev libpng-dev zlib1g-dev"
case "${1:-build}" in
  build) packages="$build" ;;
  test) packages="$build libgtest-dev cups cups-ipp-utils dpkg-dev file clang libclang-rt-dev" ;;
  coverage) packages="$build clang libclang-rt-dev llvm" ;;
  package) packages="$build build-essential debhelper" ;;
  cross) packages="$build libgtest-dev cups g++-aarch64-linux-gnu g++-s390x-linux-gnu qemu-user" ;;
  bench) packages="$build python3" ;;
  lint) packages="$build libgtest-dev clang libclang-rt-dev clang-format clang-tidy" ;;
  *) echo "setup.sh: unknown set of packages '$1'" >&2; exit 2 ;;
esac

# A library may be there for another architecture too, or for that one alone; only this machine's counts.
installed="(all|$(dpkg --print-architecture)) installed"
missing=""
for package in $packages; do
  if ! dpkg-query -W -f '${Architecture} ${db:Status-Status}\n' "$package" 2>/dev/null | grep -qxE "$installed"; then
    missing="$missing $package"
  fi
done
[ -z "$missing" ] && exit 0

root=""
[ "$(id -u)" -eq 0 ] || root="sudo"
echo "Installing:$missing"
export DEBIAN_FRONTEND=noninteractive
# Package lists may be absent or stale; a list that cannot be refreshed is no reason to stop by itself.
$root apt-get update -q >/dev/null || true
# shellcheck disable=SC2086
$root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $missing >/dev/null
