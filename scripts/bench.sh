#!/bin/sh
# Measures the filter beside what it is compared with, prints the tables, and draws where the time goes. Leaves all of it
# in out/, from where docs/performance.md has its tables and its picture.
#   scripts/bench.sh BUILD_FOLDER
set -eu

build=$1
mkdir -p out
"$build/bench/kesto_bench" "$build/bench/work" out/bench.json >out/bench.txt
python3 scripts/plot_performance.py out/bench.json out/performance.svg
cat out/bench.txt
