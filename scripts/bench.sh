#!/bin/sh
# Measures the band encoders, and the whole filter on the sample document beside the renderer alone.
#   scripts/bench.sh BUILD_FOLDER
set -eu

build=$1
"$build/bench/band_bench" --benchmark_counters_tabular=true 2>/dev/null

export PPD="$build/ppd/kesto.ppd" CUPS_SERVERBIN=/usr/lib/cups
pages=3

# seconds COMMAND...: the best wall clock of three runs
seconds() {
  for run in 1 2 3; do
    start=$(date +%s.%N)
    "$@"
    end=$(date +%s.%N)
    echo "$start $end"
  done | awk '{ t = $2 - $1; if (NR == 1 || t < best) best = t } END { printf "%.3f", best }'
}

renderer() { "$CUPS_SERVERBIN/filter/pdftoraster" 1 bench sample 1 "$1" examples/sample.pdf 2>/dev/null | cat >/dev/null; }
filter() { "$build/src/filter/pdftokesto" 1 bench sample 1 "$1" examples/sample.pdf 2>/dev/null | cat >/dev/null; }

echo
echo "Letter page at 600 dpi, seconds a page (sample document, $pages pages, best of 3)"
for options in "ColorModel=RGB" "ColorModel=Gray"; do
  alone=$(seconds renderer "$options")
  whole=$(seconds filter "$options")
  echo "$options $alone $whole $pages" |
    awk '{ printf "  %-16s renderer alone %.2f   whole filter %.2f   ratio %.2f\n", $1, $2 / $4, $3 / $4, $3 / $2 }'
done
