#!/usr/bin/env bash
# Builds the libFuzzer targets of tests/fuzz (clang, ASan + UBSan) into
# build-fuzz/ and runs each for SECONDS (default 60) on a copy of its seed
# corpus from tests/fuzz/corpus/<target>/. The inputs a run discovers stay
# in the copy, which is removed afterwards, so the repository never
# changes. Fails when a target does not build or any input crashes one;
# the log of each target and any crashing input stay in
# build-fuzz/fuzz-out/<target>/.
#
# Usage: scripts/fuzz.sh [SECONDS] [TARGET...]
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
shift || true
if ! [[ $seconds =~ ^[0-9]+$ ]] || [ "$seconds" -eq 0 ]; then
  echo "usage: scripts/fuzz.sh [SECONDS] [TARGET...]" >&2
  exit 2
fi
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  targets=(includes_file_fuzz keyword_lists_fuzz template_fuzz
    force_include_fuzz header_tokenizer_fuzz)
fi
jobs=$(nproc 2>/dev/null || echo 2)
build=$top/build-fuzz

cmake -S "$top" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DTESSEL_WERROR=ON -DTESSEL_FUZZ=ON >/dev/null
cmake --build "$build" -j "$jobs" --target "${targets[@]}"

# The readers write a file per input: a memory file system keeps that from
# costing more than the fuzzing itself.
base=/tmp
if [ -d /dev/shm ] && [ -w /dev/shm ]; then
  base=/dev/shm
fi
work=$(mktemp -d "$base/tessel_fuzz_run.XXXXXX")
trap 'rm -rf "$work"' EXIT

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
status=0
for target in "${targets[@]}"; do
  mkdir -p "$work/$target/corpus" "$work/$target/tmp" "$build/fuzz-out/$target"
  cp "$top/tests/fuzz/corpus/$target/"* "$work/$target/corpus/"
  log=$build/fuzz-out/$target/fuzz.log
  if (cd "$work/$target" && TMPDIR="$work/$target/tmp" \
    "$build/tests/fuzz/$target" -max_total_time="$seconds" -timeout=10 \
    -print_final_stats=1 -artifact_prefix="$build/fuzz-out/$target/" \
    corpus >"$log" 2>&1); then
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
    echo "$target: no crash in ${seconds} s, ${runs:-?} runs, ${rate:-?} exec/s"
  else
    echo "$target: FAILED (log and input in $build/fuzz-out/$target/)"
    grep -E '^(==[0-9]+==ERROR|SUMMARY|.*runtime error)' "$log" | head -5 || true
    status=1
  fi
done
exit $status
