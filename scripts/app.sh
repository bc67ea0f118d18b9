#!/bin/sh
# Runs the printer application on this machine, with the virtual printer behind it, until Ctrl-C.
#   scripts/app.sh BUILD_FOLDER
set -eu

build=$(realpath "$1")
work=$PWD/out/app
printer=127.0.0.31
port=${PORT:-8631}
filters=$(cups-config --serverbin)/filter
rm -rf "$work"
mkdir -p "$work/data" "$work/bin/filter" "$work/jobs"

cp "$build/ppd/kesto.ppd" "$work/data/"
cp examples/sample.pdf "$work/data/testpage.pdf"
ln -s "$build/src/filter/pdftokesto" "$build/src/filter/rastertokesto" "$filters/pdftopdf" "$filters/pdftoraster" \
  "$filters/imagetopdf" \
  "$work/bin/filter/"
export KESTO_DATA_FOLDER="$work/data" CUPS_SERVERBIN="$work/bin"

"$build/tools/kestoprinter/kestoprinter" --address "$printer" --snmp-port 0 --output "$work/jobs" </dev/null &
virtual=$!
application=""
# Both end with this script, however it ends.
trap 'kill $virtual $application 2>/dev/null || true; wait' EXIT
trap 'exit 0' INT TERM
"$build/tools/printerapp/kesto-printer-app" server -o spool-directory="$work/spool" -o server-port="$port" \
  -o log-file="$work/log" &
application=$!

uri=ipp://127.0.0.1:$port
tries=0
until "$build/tools/printerapp/kesto-printer-app" add -u "$uri/" -d Office -m kesto -v "socket://$printer" 2>"$work/add"; do
  tries=$((tries + 1))
  if [ $tries -eq 50 ] || ! kill -0 $application 2>/dev/null; then
    cat "$work/add" "$work/log" >&2
    exit 1
  fi
  sleep 0.2
done

cat <<EXPLANATION
The printer Office is at $uri/ipp/print/Office
Its web page is         http://127.0.0.1:$port/Office
Its jobs arrive in      out/app/jobs, its log is out/app/log
To print from here      lpadmin -p Kesto -E -v $uri/ipp/print/Office -m everywhere
                        lp -d Kesto examples/sample.pdf
Ctrl-C ends it.
EXPLANATION
wait $application
