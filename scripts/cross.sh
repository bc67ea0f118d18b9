#!/bin/sh
# Builds everything for another processor with Debian's compilers, and runs under qemu what needs no spooler: the unit
# tests, the kept fuzz inputs, and whole jobs, whose bytes have to be those of this machine.
#   scripts/cross.sh arm64|s390x|nehalem     (nehalem is amd64 without AVX2)
set -eu
cd "$(dirname "$0")/.."

KESTO_SYSROOT="" KESTO_PROCESSOR="" KESTO_EMULATOR=""
case "${1:-}" in
  arm64) KESTO_PROCESSOR=aarch64 ;;
  s390x) KESTO_PROCESSOR=s390x ;;
  nehalem) KESTO_PROCESSOR=x86_64 KESTO_EMULATOR="qemu-x86_64 -cpu Nehalem" ;;
  *) echo "cross.sh: no processor '${1:-}': arm64, s390x or nehalem" >&2; exit 2 ;;
esac
build=$PWD/build/$1
if [ -z "$KESTO_EMULATOR" ]; then
  KESTO_SYSROOT=$build.root
  KESTO_EMULATOR="qemu-$KESTO_PROCESSOR -L $KESTO_SYSROOT"
  scripts/sysroot.sh "$1" "$KESTO_SYSROOT" libc6-dev libcups2-dev libcupsimage2-dev libjpeg62-turbo-dev libpng-dev \
    zlib1g-dev libpappl-dev libgtest-dev libcli11-dev nlohmann-json3-dev
fi

cmake --preset cross -B "$build" -DKESTO_PROCESSOR="$KESTO_PROCESSOR" -DKESTO_SYSROOT="$KESTO_SYSROOT" \
  -DKESTO_EMULATOR="$KESTO_EMULATOR"
cmake --build "$build" -j"$(nproc)"
ctest --test-dir "$build" --output-on-failure -j"$(nproc)" -R '^(base|codec|pclxl|hdc|jobsettings|replay)/'

# The tests of whole jobs are programs of this machine, and so is the renderer that the filter starts.
for filter in pdftokesto rastertokesto; do
  printf '#!/bin/sh\nexec %s %s/src/filter/%s "$@"\n' "$KESTO_EMULATOR" "$build" $filter >"$build/$filter"
  chmod +x "$build/$filter"
done
KESTO_FILTER=$build/pdftokesto build/release/tests/endtoend_test --gtest_filter='GoldenJobs.*' --gtest_brief=1
