#!/usr/bin/env bash
# Runs every test executable of the project under Valgrind's memcheck and fails on any memory
# error and on any definitely or indirectly lost block. Still reachable blocks are expected: the
# name-atom tables and the type registry are never freed, on purpose (see
# tests/reliability/valgrind.supp, which accounts for them).
#
# Usage: scripts/run-valgrind.sh [build-dir]      (default build/valgrind)
# Environment: TSD_VALGRIND_JOBS, executables run at once (default 2, the machine's cores).
#
# The build is GCC Debug (-O0 -g), not Release: memcheck's own advice is -O0 (or -O1), since at
# -O2 and above optimised code that reads whole words of partly initialised data occasionally
# shows as uninitialised-value errors that do not exist; -O0 keeps every frame, so reports name
# exact lines and the suppression file's stacks match; and it keeps the library's assert()s on.
# Release code paths are covered by the asan preset.
set -euo pipefail
cd "$(dirname "$0")/.."

build_dir=${1:-build/valgrind}
jobs=${TSD_VALGRIND_JOBS:-2}
suppressions=$PWD/tests/reliability/valgrind.supp
# The whole-day timecode round trips (7.8 million labels) take over a minute under memcheck; every
# 7th frame keeps them near ten seconds and still visits every part of a minute.
export TSD_TIMECODE_STRIDE=${TSD_TIMECODE_STRIDE:-7}
# Tests that build values a million levels deep read this and build shorter ones under memcheck.
export TSD_VALGRIND=1

./scripts/install-deps.sh --valgrind

cmake -S . -B "$build_dir" -G Ninja -DCMAKE_CXX_COMPILER=g++ -DCMAKE_BUILD_TYPE=Debug \
  -DTSD_BUILD_TESTS=ON -DTSD_BUILD_RELIABILITY_TESTS=ON -DTSD_BUILD_BENCHMARKS=OFF \
  -DTSD_BUILD_EXAMPLES=OFF -DTSD_WARNINGS_AS_ERRORS=ON
cmake --build "$build_dir" -j "$jobs"

# Every executable that ctest knows, once each (ctest itself runs them test by test).
mapfile -t executables < <(ctest --test-dir "$build_dir" --show-only=json-v1 |
  jq -r '.tests[].command[0]' | sort -u)
((${#executables[@]} > 0)) || { echo "run-valgrind.sh: ctest lists no test executable" >&2; exit 1; }

log_dir=$build_dir/valgrind-logs
rm -rf "$log_dir"
mkdir -p "$log_dir"
log_dir=$(cd "$log_dir" && pwd)

# One executable under memcheck. Each process writes its own log (%p): forked children too.
run_one() {
  local executable=$1 name
  name=$(basename "$executable")
  local status=0 started=$SECONDS
  # nouserintercepts: memcheck replaces only the system libraries' allocation functions, so the
  # allocation tests' own operator new (counting, failing on demand, then calling malloc) stays
  # in force; for every other executable nothing changes.
  valgrind --tool=memcheck --error-exitcode=1 --leak-check=full \
    --show-leak-kinds=definite,indirect --errors-for-leak-kinds=definite,indirect \
    --suppressions="$suppressions" --soname-synonyms=somalloc=nouserintercepts --num-callers=40 \
    --log-file="$log_dir/$name.%p.memcheck" "$executable" >"$log_dir/$name.output" 2>&1 || status=$?
  echo "$status" >"$log_dir/$name.status"
  echo "$((SECONDS - started))" >"$log_dir/$name.seconds"
  echo "memcheck: $name exited with $status after $((SECONDS - started))s"
}
export -f run_one
export suppressions log_dir

echo "memcheck over ${#executables[@]} executables, $jobs at a time"
start=$SECONDS
printf '%s\n' "${executables[@]}" | xargs -P "$jobs" -I{} bash -c 'run_one "$1"' _ {}
elapsed=$((SECONDS - start))

# Per executable, summed over its processes: errors, lost blocks, still reachable (not
# suppressed) and the immortal tables' blocks that the suppression file accounts for.
failed=0
printf '\n%-34s %5s %6s %6s %9s %9s %18s %18s\n' executable secs status errors definite indirect \
  "still reachable" "immortal (supp.)"
for executable in "${executables[@]}"; do
  name=$(basename "$executable")
  status=$(cat "$log_dir/$name.status")
  read -r processes errors definite indirect reachable reachable_blocks suppressed suppressed_blocks < <(
    cat "$log_dir/$name".*.memcheck | tr -d ',' | awk '
      /ERROR SUMMARY:/      { processes++; errors += $4 }
      /definitely lost:/    { definite += $4 }
      /indirectly lost:/    { indirect += $4 }
      /still reachable:/    { reachable += $4; reachableBlocks += $7 }
      /suppressed:.*bytes/  { suppressed += $3; suppressedBlocks += $6 }
      END { print processes+0, errors+0, definite+0, indirect+0, reachable+0, reachableBlocks+0,
                  suppressed+0, suppressedBlocks+0 }')
  printf '%-34s %5s %6s %6s %9s %9s %18s %18s\n' "$name" "$(cat "$log_dir/$name.seconds")" "$status" \
    "$errors" "$definite" "$indirect" \
    "$reachable B/$reachable_blocks" "$suppressed B/$suppressed_blocks"
  if [[ $status != 0 || $errors != 0 || $definite != 0 || $indirect != 0 || $processes == 0 ]]; then
    failed=1
    echo "  see $log_dir/$name.output and $log_dir/$name.*.memcheck"
  fi
done
echo
echo "memcheck took ${elapsed}s (build excluded); logs in $log_dir"
if ((failed)); then
  echo "memcheck: FAILED"
  exit 1
fi
echo "memcheck: clean (0 errors, no definitely or indirectly lost blocks)"
