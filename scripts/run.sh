#!/usr/bin/env bash
# Builds TesselGen and characterises a compiler in a fresh run directory.
#
#   scripts/run.sh [PRESET]                 a preset (default: gcc)
#   scripts/run.sh --list                   the presets
#   scripts/run.sh -- POSITIONALS... [OPTIONS...]
#                                           your own eight positionals and options
#   scripts/run.sh --args PRESET            print the preset's arguments only
#   scripts/run.sh --no-verify ...          any of the above without "-verify"
#
# Runs pass "-verify" (check the personality with the compiler) unless
# --no-verify comes first.
# Each run gets its own directory runs/<name>-<time>/ holding the test
# directories and a "work" directory (with "config") that TesselGen runs in,
# so nothing is written into the shipped data and no run sees another's files.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)

usage() {
  sed -n '2,15p' "$0" | sed 's/^# \{0,1\}//'
}

# The presets: one line each in scripts/presets.tsv (its header says what
# the fields hold).
table=$top/scripts/presets.tsv
presets=$(awk -F'\t' '!/^#/ && NF && $1 != "name" { printf "%s%s", sep, $1; sep = " " }' "$table")

# Prints the directories that a gcc-like compiler searches for <...> headers.
gcc_like_dirs() {  # compiler language [switches...]
  local cc=$1 lang=$2
  shift 2
  "$cc" "$@" -x"$lang" -E -v /dev/null 2>&1 >/dev/null |
    sed -n '/#include <...> search starts here:/,/End of search list./p' |
    sed '1d;$d' | sed 's/^ *//' | while read -r d; do
      (cd "$d" 2>/dev/null && pwd)
    done
}

sdcc_dirs() {  # compiler [switches...]: the include directories of the port
  "$@" --print-search-dirs 2>/dev/null |
    sed -n '/^includedir:/,/^[a-z]*dir:/p' | sed '1d;$d' | while read -r d; do
      [ -d "$d" ] && (cd "$d" && pwd)
    done
}

tcc_dirs() {  # compiler
  "$1" -vv 2>/dev/null | sed -n '/^include:/,/^[a-z]/p' | sed '1d' | grep '^ ' |
    sed 's/^ *//' | while read -r d; do
      [ -d "$d" ] && (cd "$d" && pwd)
    done
}

pcc_dirs() {  # compiler: the "-S" directories it passes to its preprocessor
  "$1" -v -E -xc /dev/null 2>/dev/null | sed -n 's/^Calling //p' | tr ' ' '\n' |
    sed -n '/^-S$/{n;p}' | while read -r d; do
      [ -d "$d" ] && (cd "$d" && pwd)
    done
}

standard_dirs() {  # /dir[:/dir...]: the ones that exist
  tr ':' '\n' <<<"$1" | while read -r d; do
    [ -d "$d" ] && (cd "$d" && pwd)
  done
}

# Sets ARGS to the positionals and options of a preset.
preset_args() {
  local name=$1 row product cross cc out compile define ext order switches
  local headers lang=c dirs sw
  row=$(awk -F'\t' -v name="$name" '!/^#/ && $1 == name && name != "name"' "$table")
  if [ -z "$row" ]; then
    echo "Unknown preset: $name (known presets: $presets)" >&2
    exit 2
  fi
  IFS=$'\t' read -r _ product cross cc out compile define ext order switches headers <<<"$row"
  [ "$product" = vellcpp ] && lang=c++
  [ "$switches" = - ] && switches=
  if ! command -v "$cc" >/dev/null 2>&1; then
    echo "Compiler not found for preset $name: $cc is not on PATH" >&2
    exit 3
  fi
  # The switches go to the compiler as separate words, as in a compile.
  read -r -a sw <<<"$switches"
  case "$headers" in
    gcc) dirs=$(gcc_like_dirs "$cc" "$lang" "${sw[@]}") ;;
    sdcc) dirs=$(sdcc_dirs "$cc" "${sw[@]}") ;;
    tcc) dirs=$(tcc_dirs "$cc") ;;
    pcc) dirs=$(pcc_dirs "$cc") ;;
    /*) dirs=$(standard_dirs "$headers") ;;
  esac
  if [ -z "$dirs" ]; then
    echo "Could not learn the header directories of $cc" >&2
    exit 3
  fi
  ARGS=("$product" "$cross" "$cc" "$out" "$compile" "$define" "$ext" "$order")
  local d
  # The same directory can be listed twice (through ".." or a symbolic
  # spelling); keep the first.
  dirs=$(awk '!seen[$0]++' <<<"$dirs")
  while read -r d; do ARGS+=(-i "$d"); done <<<"$dirs"
  [ -z "$switches" ] || ARGS+=(-xs "$switches")
}

verify=(-verify)
if [ "${1:-}" = --no-verify ]; then
  verify=()
  shift
fi

name=gcc
if [ $# -gt 0 ]; then
  case "$1" in
    -h|--help) usage; exit 0 ;;
    --list) echo "$presets"; exit 0 ;;
    --args) preset_args "${2:-gcc}"; printf '%s\n' "${ARGS[@]}"; exit 0 ;;
    --) shift; name=custom; ARGS=("$@") ;;
    *) name=$1 ;;
  esac
fi
[ "$name" = custom ] || preset_args "$name"
ARGS+=(${verify[@]+"${verify[@]}"})

# TESSEL_BINARY names an already built TesselGen (the tests use it);
# otherwise the tool is built here first.
binary=${TESSEL_BINARY:-}
if [ -n "$binary" ]; then
  # The run happens in another directory: make a relative path absolute.
  case "$binary" in
    /*) ;;
    */*) binary=$(cd "$(dirname "$binary")" && pwd)/$(basename "$binary") ;;
    *) binary=$(command -v "$binary" || echo "$PWD/$binary") ;;
  esac
else
  cmake -S "$top" -B "$top/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
  cmake --build "$top/build" --target TesselGen -j "$(nproc 2>/dev/null || echo 2)" >/dev/null
  binary=$top/build/TesselGen
fi

# TESSEL_RUNS_DIR moves the run directories elsewhere (default: runs/).
run_dir=${TESSEL_RUNS_DIR:-$top/runs}/$name-$(date +%Y%m%d-%H%M%S)-$$
mkdir -p "$run_dir/work/personality"
# The keyword lists are shipped in config/; a checkout without them still
# runs (TesselGen reports each missing list and goes on).
if [ -d "$top/config" ]; then
  cp -R "$top/config" "$run_dir/work/config"
else
  mkdir -p "$run_dir/work/config"
fi
for d in c_tests cpp_tests c_keyword_tests cpp_keyword_tests; do
  if [ -d "$top/data/$d" ]; then cp -R "$top/data/$d" "$run_dir/$d"; else mkdir -p "$run_dir/$d"; fi
done

cd "$run_dir/work"
status=0
"$binary" "${ARGS[@]}" || status=$?
echo
echo "Run directory:     $run_dir/work"
out=personality/TesselPerson.p_c
for ((i = 0; i < ${#ARGS[@]}; i++)); do
  [ "${ARGS[$i]}" = -op ] && out=${ARGS[$((i + 1))]}
done
echo "Personality:       $run_dir/work/$out"
fi_dir=$(dirname "$out")/kivforceinclude
if [ -d "$fi_dir" ]; then
  echo "Force-include:     $run_dir/work/$fi_dir"
else
  echo "Force-include:     (none written)"
fi
echo "Run log:           $run_dir/work/$(ls -t TesselGen_*.log 2>/dev/null | head -1)"
# The exports for clangd, clang-tidy and cppcheck go beside the personality.
# TESSEL_EXPORT names a TesselExport; else the one beside TesselGen is used.
exporter=${TESSEL_EXPORT:-$(dirname "$binary")/TesselExport}
if [ -z "${TESSEL_BINARY:-}${TESSEL_EXPORT:-}" ]; then
  cmake --build "$top/build" --target TesselExport -j 2 >/dev/null
fi
if [ ! -x "$exporter" ]; then
  echo "Exports:           (not written: no TesselExport at $exporter)"
elif "$exporter" all "$out" >export.log 2>&1; then
  echo "Exports:           $run_dir/work/$(dirname "$out")"
else
  echo "Exports:           (failed: see $run_dir/work/export.log)"
fi
exit $status
