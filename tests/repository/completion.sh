#!/bin/bash
# What bash offers for the beginning of a call: completion.sh KESTODOCTOR KESTOJOB KESTOPRINTER COMPLETION
set -u
doctor=$1 job=$2 printer=$3
. "$4"
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
mkdir jobs && touch a.prn 'b c.prn' note.txt sheet.png
lpstat() { printf '%s\n' Office Attic 'Odd$(touch obeyed)'; }
failed=0

# expect FUNCTION PROGRAM WORD... : WANTED...   where the last word is the one to complete
expect() {
  local function=$1 words=() got
  shift
  while [ "$1" != : ]; do
    words+=("$1")
    shift
  done
  shift
  COMP_WORDS=("${words[@]}")
  COMP_CWORD=$((${#words[@]} - 1))
  COMPREPLY=()
  "$function" "${words[0]}" "${words[COMP_CWORD]}" "${words[COMP_CWORD - 1]}"
  got=$(printf '%s,' "${COMPREPLY[@]}")
  [ "$got" = "$(printf '%s,' "$@")" ] && return
  echo "${words[*]}: $got instead of $*"
  failed=1
}

expect _kestojob "$job" "" : list check info pages
expect _kestojob "$job" --v : --version
expect _kestojob "$job" pages --s : --sheet --scale
expect _kestojob "$job" pages --sheet "" : jobs sheet.png
expect _kestojob "$job" pages --pages "" :
expect _kestojob "$job" pages -o "" : jobs
expect _kestojob "$job" list --j : --json
expect _kestojob "$job" list --json "" : a.prn "b c.prn" jobs
expect _kestojob "$job" check no : note.txt
expect _kestoprinter "$printer" u : usb
expect _kestoprinter "$printer" --ad : --address
expect _kestoprinter "$printer" --fault o : oversized
expect _kestoprinter "$printer" usb --pi : --piece
expect _kestoprinter "$printer" usb -- a : a.prn
expect _kestodoctor "$doctor" A : Attic
expect _kestodoctor "$doctor" Od : 'Odd\$\(touch\ obeyed\)'
expect _kestodoctor "$doctor" --j : --json
expect _kestodoctor "$doctor" -h "" :
[ ! -e obeyed ] || { echo "a queue's name has been carried out"; failed=1; }
exit $failed
