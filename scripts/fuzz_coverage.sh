#!/bin/sh
# Tells which lines of the fuzzed modules the corpora reach, by clang's source-based coverage.
#   scripts/fuzz_coverage.sh [FOLDER...]    (more inputs: folders that hold one for each target; build/fuzz/fuzz/corpus)
# Leaves the marked sources in out/coverage. The exit status is 1 when a line in twenty or more is not reached.
set -eu
cd "$(dirname "$0")/.."
build=build/coverage
out=out/coverage
cmake --preset coverage >/dev/null
cmake --build "$build" -j"$(nproc)" >/dev/null
rm -rf "$out"
mkdir -p "$out"

objects=""
for source in fuzz/fuzz_*.cpp; do
  target=$(basename "$source" .cpp)
  inputs=""
  for folder in fuzz/corpus "$@"; do
    [ -d "$folder/$target" ] && inputs="$inputs $folder/$target"
  done
  # shellcheck disable=SC2086
  LLVM_PROFILE_FILE="$out/$target.profraw" "$build/fuzz/$target" -runs=0 -timeout=5 -close_fd_mask=3 $inputs
  objects="${objects:+$objects -object }$build/fuzz/$target"
done
llvm-profdata merge -o "$out/all.profdata" "$out"/*.profraw

# What the targets are for; the rest of these folders waits for printers and processes. Tables made at compile time
# have no lines at run time.
modules='codec/(tbrle|wicket|huffman|fast|bandplanes|blockwriter|quantize|downsample|fdct[.]|colorconvert)|pclxl/pclxl'
modules="$modules|npa/(NPAValidator|NpaParser|oir/OIRCommandResponse|alerttext)|jobsettings/|hdc/cbuffer[.]"
modules="$modules|filter/(document/(rasterstream|pixelformat)|lines/|strips/|page)|kestojob/reader/"
# shellcheck disable=SC2086
llvm-cov show $objects -instr-profile "$out/all.profdata" -format html -output-dir "$out" >/dev/null
# shellcheck disable=SC2086
llvm-cov report $objects -instr-profile "$out/all.profdata" |
  awk -v modules="(src|tools)/?($modules)" '
    $1 ~ modules || "src/" $1 ~ modules || "tools/" $1 ~ modules {
      printf "%-45s %5d lines %4d missed %6.1f %%\n", $1, $8, $9, $8 ? 100 - 100 * $9 / $8 : 100
      lines += $8; missed += $9
    }
    END {
      covered = lines ? 100 - 100 * missed / lines : 0
      printf "%-45s %5d lines %4d missed %6.1f %%\n", "together", lines, missed, covered
      exit covered < 95
    }'
