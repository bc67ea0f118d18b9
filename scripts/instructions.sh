#!/bin/sh
# Counts instructions a pixel for the ways through a colour page, under qemu, where time says nothing. Needs build/bench,
# and for arm64 build/arm64 with the benchmark.
#   scripts/instructions.sh
set -eu
cd "$(dirname "$0")/.."
plugin=build/bench/bench/libcountplugin.so

count() {  # emulator, program, kind, way, times
  $1 -plugin $plugin "$2" "$3" "$4" "$5" 2>&1 >/dev/null | tail -n 1
}
printf '%-28s %-10s %10s\n' page way a-pixel
for kind in 0 1 2 3 4 5; do
  for row in "qemu-x86_64:build/bench:literal" "qemu-x86_64:build/bench:basic" "qemu-x86_64 -cpu max:build/bench:specific" \
    "qemu-aarch64 -L build/arm64.root:build/arm64:literal" "qemu-aarch64 -L build/arm64.root:build/arm64:basic"; do
    emulator=${row%%:*} rest=${row#*:}
    program=${rest%:*}/bench/kesto_instructions way=${rest#*:}
    # What a second page takes: tables and the drawing of the page are the first one's.
    once=$(count "$emulator" "$program" $kind "$way" 1)
    twice=$(count "$emulator" "$program" $kind "$way" 2)
    awk -v name="$kind ${emulator%% *}" -v way="$way" -v n=$((twice - once)) \
      'BEGIN { printf "%-28s %-10s %10.2f\n", name, way, n / (5104 * 6592) }'
  done
done
