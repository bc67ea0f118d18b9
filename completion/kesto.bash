# Completion of the Kesto programs' command lines, for bash. bash-completion loads it with the first program that is
# completed; by hand: . kesto.bash
#
# What options and commands there are, and which options take a value, each program says itself (--help).

# Offers those lines of standard input that begin with $1. Not by compgen -W, which carries out what stands in its words
# as $(...): a spooler on the network may give its queues any name.
_kesto_words() {
  local line
  while read -r line; do
    [[ $line == "$1"* ]] && COMPREPLY+=("$(printf %q "$line")")
  done
}

# Offers the files that match the pattern $2, and folders; any file when there are none of these.
_kesto_files() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <({ compgen -f -X "!$2" -- "$1"; compgen -d -- "$1"; } | sort -u)
  [ ${#COMPREPLY[@]} -gt 0 ] || mapfile -t COMPREPLY < <(compgen -f -- "$1")
}

_kesto_folders() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -d -- "$1")
}

# The options in the help text $1: the first column of its lines, "  -o,--output DIR   ...".
_kesto_options() {
  sed -n 's/^  \(-[^ ]*\).*/\1/p' <<<"$1" | tr ',' '\n'
}

# The commands in the help text $1.
_kesto_commands() {
  sed -n '/^Subcommands:/,$s/^  \([a-z][a-z]*\) .*/\1/p' <<<"$1"
}

# Whether in the help text $1 the option $2 takes a value, which stands behind a single blank.
_kesto_takes_value() {
  [[ $2 =~ ^--?[a-z-]+$ ]] && grep -qE -- "^  ([^ ]*,)?$2(,[^ ]*)? [^ ]" <<<"$1"
}

_kestojob() {
  local word=$2 before=$3 command="" help
  [ "$COMP_CWORD" -gt 1 ] && command=${COMP_WORDS[1]}
  help=$("$1" ${command:+"$command"} --help 2>/dev/null)
  COMPREPLY=()
  case $before in
    -o) _kesto_folders "$word"; return ;;
    --sheet) _kesto_files "$word" '*.png'; return ;;
    --scale) _kesto_words "$word" < <(printf '%s\n' 1/{2,4,8,16,32}); return ;;
  esac
  if _kesto_takes_value "$help" "$before"; then
    return
  elif [[ $word == -* ]]; then
    _kesto_words "$word" < <(_kesto_options "$help")
  elif [ -z "$command" ]; then
    _kesto_words "$word" < <(_kesto_commands "$help")
  else
    _kesto_files "$word" '*.prn'
  fi
}

_kestoprinter() {
  local word=$2 before=$3 usb="" i help
  COMPREPLY=()
  for ((i = 1; i < COMP_CWORD; ++i)); do
    [ "${COMP_WORDS[i]}" = usb ] && usb=usb
    if [ "${COMP_WORDS[i]}" = -- ]; then  # the filter that a USB printer runs, and its arguments
      _kesto_files "$word" '*'
      return
    fi
  done
  help=$("$1" --help 2>/dev/null; [ -z "$usb" ] || "$1" usb --help 2>/dev/null)
  case $before in
    -o | --output) _kesto_folders "$word"; return ;;
    --fault) _kesto_words "$word" < <(sed -n 's/^  --fault \([a-z|-]*\).*/\1/p' <<<"$help" | tr '|' '\n'); return ;;
  esac
  if _kesto_takes_value "$help" "$before"; then
    return
  elif [[ $word == -* ]]; then
    _kesto_words "$word" < <(_kesto_options "$help"; echo "${usb:+--}")
  elif [ -z "$usb" ]; then
    _kesto_words "$word" < <(_kesto_commands "$help")
  fi
}

_kestodoctor() {
  local word=$2 before=$3 help
  COMPREPLY=()
  help=$("$1" --help 2>/dev/null)
  if _kesto_takes_value "$help" "$before"; then
    return
  elif [[ $word == -* ]]; then
    _kesto_words "$word" < <(_kesto_options "$help")
  else
    _kesto_words "$word" < <(lpstat -e 2>/dev/null)
  fi
}

_kesto_printer_app() {
  local word=$2 before=$3 command=""
  [ "$COMP_CWORD" -gt 1 ] && command=${COMP_WORDS[1]}
  COMPREPLY=()
  case $before in
    -d) _kesto_words "$word" "$("$1" printers 2>/dev/null)"; return ;;
    -m) _kesto_words "$word" kesto; return ;;
    -v) _kesto_words "$word" "$("$1" devices 2>/dev/null)"; return ;;
    -o) [ "$command" = server ] && _kesto_words "$word" server-port= listen-hostname= auth-service= admin-group= \
          server-hostname= spool-directory= log-file= log-level=; return ;;
  esac
  if [ "$COMP_CWORD" -le 1 ]; then
    _kesto_words "$word" add cancel default delete devices drivers jobs modify options pause printers resume server \
      shutdown status submit
  elif [[ $word == -* ]]; then
    _kesto_words "$word" -a -d -h -j -m -n -o -u -v
  elif [ "$command" = submit ]; then
    _kesto_files "$word" '*.pdf'
  fi
}

complete -F _kestojob kestojob
complete -F _kestoprinter kestoprinter
complete -F _kestodoctor kestodoctor
complete -F _kesto_printer_app kesto-printer-app
