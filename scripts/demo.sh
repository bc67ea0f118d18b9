#!/bin/sh
# Prints the sample document through the filter and the spooler's renderer, as the spooler would for a colour job, and
# looks at what came out.
#   scripts/demo.sh BUILD_FOLDER
set -eu

build=$1
out=out
job=$out/sample.prn
mkdir -p "$out"

start=$(date +%s.%N)
status=0
PPD="$build/ppd/kesto.ppd" CUPS_SERVERBIN="${CUPS_SERVERBIN:-/usr/lib/cups}" DEVICE_URI="file:///dev/null" \
  CONTENT_TYPE=application/pdf FINAL_CONTENT_TYPE=application/vnd.kesto-printjob PRINTER=Kesto CHARSET=utf-8 \
  "$build/src/filter/pdftokesto" 1 "${USER:-demo}" "Sample document" 1 "media=Letter" examples/sample.pdf \
  >"$job" 2>"$out/sample.log" || status=$?
end=$(date +%s.%N)

if [ "$status" -ne 0 ] || grep -q '^ERROR:' "$out/sample.log"; then
  echo "The sample did not print (exit status $status):" >&2
  grep '^ERROR:' "$out/sample.log" >&2 || tail -n 5 "$out/sample.log" >&2
  exit 1
fi

pages=$(grep -c '^PAGE:' "$out/sample.log")
size=$(stat -c %s "$job")
echo "Printed examples/sample.pdf with $build/ppd/kesto.ppd:"
echo "  pages  $pages"
echo "  size   $size bytes"
echo "$start $end" | awk '{ printf "  time   %.2f s, the rendering by pdftoraster included\n", $2 - $1 }'
echo "  job    $job"
echo "  log    $out/sample.log"

verdict=$("$build/tools/kestojob/kestojob" check "$job")
echo "  check  ${verdict#"$job: "}"
"$build/tools/kestojob/kestojob" pages "$job" --sheet "$out/sample.png" --scale 1/16
echo "  sheet  $out/sample.png"
