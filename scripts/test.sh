#!/usr/bin/env bash
# Builds TesselGen and runs every test: once in a normal build (unit, stage
# and real-compiler tests) and once with AddressSanitizer and
# UndefinedBehaviorSanitizer (unit and stage tests); then fuzzes each reader
# of outside data for TESSEL_FUZZ_SECONDS seconds (default 60) with clang.
#
# Compilers that the real-compiler tests use are installed with apt-get when
# this runs as root and they are missing; set TESSEL_NO_INSTALL=1 to skip
# that (the tests that need them then report "skipped" with the reason).
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
cd "$top"
jobs=$(nproc 2>/dev/null || echo 2)

"$top/scripts/install_deps.sh"

build() {  # build DIR [cmake options...]
  local dir=$1
  shift
  cmake -S "$top" -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTESSEL_WERROR=ON "$@" >/dev/null
  cmake --build "$dir" -j "$jobs"
}

echo "== Format and whitespace =="
status=0
if command -v clang-format >/dev/null 2>&1; then
  git ls-files '*.cc' '*.h' | xargs clang-format --dry-run --Werror || status=1
else
  echo "skipped: clang-format not installed"
fi
if git grep -n -I -E '[[:blank:]]+$' -- . ':!*.md' ':!data/' ':!config/' \
  ':!tests/fuzz/corpus/' ':!tests/stage/golden/'; then
  echo "trailing blanks in the lines above"
  status=1
fi

echo "== Normal build =="
build "$top/build"
echo "== Sanitizer build (ASan + UBSan) =="
build "$top/build-asan" -DTESSEL_SANITIZE=ON

echo "== Tests: unit, stage and real compilers =="
ctest --test-dir "$top/build" -j "$jobs" --output-on-failure || status=1
echo "== Tests under the sanitizers: unit and stage =="
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --test-dir "$top/build-asan" -j "$jobs" -L 'unit|stage' --output-on-failure || status=1
fuzz_seconds=${TESSEL_FUZZ_SECONDS:-60}
echo "== Fuzzing: each reader for $fuzz_seconds s (libFuzzer, ASan + UBSan) =="
if command -v clang++ >/dev/null 2>&1; then
  "$top/scripts/fuzz.sh" "$fuzz_seconds" || status=1
else
  echo "skipped: clang++ not installed"
fi
exit $status
