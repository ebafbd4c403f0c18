#!/usr/bin/env bash
# Times whole runs of the presets.
#
#   scripts/bench.sh                        every installed preset once (gcc
#                                           three times, the median), one
#                                           line each, then gcc three times
#                                           without "-verify"
#   scripts/bench.sh PRESET [RUNS]          one preset stage by stage
#                                           (default 3 runs)
#
# Builds the benchmark binary (tests/bench/run_bench.cc, a TesselGen that
# records per stage its wall time, its compiles and the time spent inside
# the commands it starts) and runs the presets with it through
# scripts/run.sh. Without arguments it prints per preset the compiles, the
# time of the whole run and the time per compile, and what the check stage
# of "-verify" adds to them (its own row of the stage table); gcc also runs
# three times with --no-verify, whose median is printed after. With a preset, it prints
# per stage the median wall time and compiles, and the total, and then sets
# the tool's own time (outside the commands, less writing the compile
# scripts) against the cost of the compile script mechanism, which each run
# times after it ends with an empty command.
# The run directories go to a temporary directory that is removed at the
# end (set TESSEL_KEEP_RUNS=1 to keep them).
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)

cmake -S "$top" -B "$top/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$top/build" --target run_bench -j "$(nproc 2>/dev/null || echo 2)" >/dev/null
binary=$top/build/tests/run_bench

runs_dir=$(mktemp -d "${TMPDIR:-/tmp}/tessel_bench.XXXXXX")
# The run directories go when the summary has been printed; a failed run
# or summary keeps them for a look.
keep=${TESSEL_KEEP_RUNS:-0}
trap '[ "$keep" = 1 ] || rm -rf "$runs_dir"' EXIT

# Runs PRESET RUNS times and appends the stage tables to `tables`.
# With a third argument "--no-verify" the runs are not verified.
bench_runs() {  # preset runs [--no-verify]
  local i out dir
  for ((i = 1; i <= $2; i++)); do
    echo "Run $i of $2: $1 ${3:-}" >&2
    out=$(TESSEL_BINARY=$binary TESSEL_RUNS_DIR=$runs_dir "$top/scripts/run.sh" ${3:-} "$1")
    dir=$(sed -n 's/^Run directory: *//p' <<<"$out")
    if [ ! -f "$dir/bench_stages.tsv" ]; then
      echo "Run $i left no stage table; its output ends with:" >&2
      tail -20 <<<"$out" >&2
      keep=1
      exit 1
    fi
    tables+=("$dir/bench_stages.tsv")
  done
}

machine() {
  echo "$(nproc 2>/dev/null || echo '?') cores, load $(cut -d' ' -f1-3 /proc/loadavg 2>/dev/null || echo '?')"
}

# One row of the all-preset table from the stage tables in `tables`: the run
# that is the median by wall time, its compiles, time and time per compile,
# and the compiles and time of its "verify" stage with what they add to the
# rest of the run.
preset_row() {  # name
  awk -F'\t' '$1 == "total" { total[FILENAME] = $2 " " $3 }
      $1 == "verify" { check[FILENAME] = $2 " " $3 }
      END { for (f in total) { v = (f in check) ? check[f] : "0 0"; print total[f] " " v } }' "${tables[@]}" |
    sort -n | awk -v name="$1" '{ w[NR] = $1; c[NR] = $2; vw[NR] = $3; vc[NR] = $4 }
      END { m = int((NR + 1) / 2)
        printf "%-24s %9d %10.1f %11.1f %9d %7.1f %8.1f %7.1f", name, c[m], w[m],
          c[m] ? 1000 * w[m] / c[m] : 0, vc[m], vw[m],
          (c[m] > vc[m]) ? 100 * vc[m] / (c[m] - vc[m]) : 0,
          (w[m] > vw[m]) ? 100 * vw[m] / (w[m] - vw[m]) : 0 }'
}

if [ $# -eq 0 ]; then
  # Every preset whose compiler is installed: the median of its runs by
  # wall time.
  rows=()
  for preset in $("$top/scripts/run.sh" --list); do
    if ! "$top/scripts/run.sh" --args "$preset" >/dev/null 2>&1; then
      rows+=("$(printf '%-24s %9s %10s %11s' "$preset" - - "not installed")")
      continue
    fi
    tables=()
    runs=1
    [ "$preset" = gcc ] && runs=3
    bench_runs "$preset" "$runs"
    rows+=("$(preset_row "$preset")")
  done
  plain=()
  if "$top/scripts/run.sh" --args gcc >/dev/null 2>&1; then
    tables=()
    bench_runs gcc 3 --no-verify
    plain+=("$(preset_row gcc)")
  fi
  echo
  echo "Every installed preset with \"-verify\", one run each, gcc the median of three ($(machine))"
  echo "The check columns are the check stage of \"-verify\": its compiles, its time, and"
  echo "what it adds to the compiles and the time of the rest of the run."
  printf '%-24s %9s %10s %11s %9s %7s %8s %7s\n' preset compiles "time (s)" "ms/compile" \
    "check" "(s)" "+compl %" "+time %"
  printf '%s\n' "${rows[@]}"
  if [ ${#plain[@]} -gt 0 ]; then
    echo
    echo "gcc with --no-verify, the median of three"
    printf '%s\n' "${plain[@]}"
  fi
  exit 0
fi

preset=$1
runs=${2:-3}
tables=()
bench_runs "$preset" "$runs"

echo
echo "Preset $preset, median of $runs runs ($(machine))"
# Per stage, in the order of the first table: the median of each column.
keep_asked=$keep
keep=1
awk -F'\t' -v runs="$runs" '
  function median(list, n,    values, i, j, t) {
    n = split(list, values, " ")
    for (i = 1; i <= n; i++)
      for (j = i + 1; j <= n; j++)
        if (values[j] + 0 < values[i] + 0) { t = values[i]; values[i] = values[j]; values[j] = t }
    return n % 2 ? values[(n + 1) / 2] : (values[n / 2] + values[n / 2 + 1]) / 2
  }
  FNR == 1 { next }
  # Seconds per compile of the compile script mechanism, timed after each
  # run: the whole call and the part inside the shell.
  $1 == "mechanism" { mech = mech " " $2; mech_shell = mech_shell " " $5; next }
  {
    if (!($1 in wall)) order[++stages] = $1
    wall[$1] = wall[$1] " " $2; compiles[$1] = compiles[$1] " " $3
    commands[$1] = commands[$1] " " $4; inside[$1] = inside[$1] " " $5
    outside[$1] = outside[$1] " " $6
  }
  END {
    printf "%-22s %10s %9s %9s %10s %11s\n", "stage", "wall (s)", "compiles", "commands", "inside (s)", "outside (s)"
    for (s = 1; s <= stages; s++) {
      name = order[s]
      if (name == "total") printf "%s\n", "----------------------------------------------------------------------------"
      printf "%-22s %10.2f %9d %9d %10.2f %11.2f\n", name, median(wall[name]), median(compiles[name]),
        median(commands[name]), median(inside[name]), median(outside[name])
    }
    t_in = median(inside["total"]); t_out = median(outside["total"])
    scan = ("header scan" in outside) ? median(outside["header scan"]) : 0
    n = median(compiles["total"])
    mechanism = median(mech); mechanism_shell = median(mech_shell)
    if (t_in > 0)
      printf "\nTime outside the commands: %.2f s, %.1f %% of the %.2f s inside them.\n", t_out, 100 * t_out / t_in, t_in
    if (n > 0 && mechanism > 0) {
      # Writing "compile.sh" is part of the mechanism but happens outside
      # the commands; it is counted with the mechanism, not with the tool.
      script = n * (mechanism - mechanism_shell)
      cost = n * mechanism
      own = t_out - script
      printf "Compile script mechanism: %.2f ms per compile (empty command; %.2f ms of it writing the script), %.2f s for %d compiles.\n", 1000 * mechanism, 1000 * (mechanism - mechanism_shell), cost, n
      printf "Compilers and other commands: %.2f s. Tool'"'"'s own time: %.2f s, %.2f s without the header scan.\n", t_in - n * mechanism_shell, own, own - scan
      printf "Tool'"'"'s own time is %.1f %% of the mechanism cost (%.1f %% without the header scan).\n", 100 * own / cost, 100 * (own - scan) / cost
    }
  }' "${tables[@]}"
keep=$keep_asked
