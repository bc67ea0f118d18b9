#!/bin/sh
# Measures the filter beside what it is compared with, and draws the plot of where the time goes.
#   scripts/bench.sh BUILD_FOLDER
set -eu

build=$1
mkdir -p out
"$build/bench/kesto_bench" "$build/bench/work" out/bench.json
python3 scripts/plot_performance.py out/bench.json out/performance.svg
echo
echo "The figures are in out/bench.json, the plot in out/performance.svg."
