#!/bin/sh
# Measures the filter beside what it is compared with, prints the tables, and draws where the time goes. Leaves all of it
# in out/. With `docs` as the second argument it becomes the tables and the picture of docs/performance.md.
#   scripts/bench.sh BUILD_FOLDER [docs]
set -eu

build=$1
mkdir -p out
"$build/bench/kesto_bench" "$build/bench/work" out/bench.json >out/bench.txt
python3 scripts/plot_performance.py out/bench.json out/performance.svg
cat out/bench.txt

if [ "${2:-}" = docs ]; then
  cp out/performance.svg docs/images/performance.svg
  { sed '/^```text$/q' docs/performance.md; cat out/bench.txt; sed '1,/^```text$/d' docs/performance.md | sed -n '/^```$/,$p'; } \
    >out/performance.md
  mv out/performance.md docs/performance.md
fi
