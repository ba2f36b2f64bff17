#!/usr/bin/env bash
# Builds the libFuzzer targets (fuzz preset) and runs each one in turn on a temporary copy of its
# checked-in seed corpus, with its dictionary when it has one. Prints the executions per second of
# every target and exits non-zero when any target finds a crash, a leak or a broken invariant;
# the input that did it is kept under build/fuzz/fuzz-artifacts/.
#
#   scripts/run-fuzzers.sh [--no-build] [--runs N | --seconds S] [--jobs J] [target...]
#
#   --no-build     use the targets already built in build/fuzz
#   --runs N       executions per target (default 40000: the CI setting, about two minutes with
#                  the build from a clean tree on a two-core machine)
#   --seconds S    run each target for S seconds instead of a number of executions
#   --jobs J       parallel build jobs (default: the number of cores)
#   target...      only these targets (default: all of build/fuzz/fuzz/fuzz-targets.txt)
set -euo pipefail
cd "$(dirname "$0")/.."

build=1
runs=40000
seconds=
jobs=$(nproc)
targets=()
while (($#)); do
  case $1 in
    --no-build) build=0 ;;
    --runs) runs=$2; shift ;;
    --seconds) seconds=$2; shift ;;
    --jobs) jobs=$2; shift ;;
    -h|--help) sed -n '2,14p' "$0"; exit 0 ;;
    -*) echo "unknown option: $1" >&2; exit 2 ;;
    *) targets+=("$1") ;;
  esac
  shift
done

if ((build)); then
  cmake --preset fuzz
  cmake --build --preset fuzz --parallel "$jobs"
fi

bin=build/fuzz/fuzz
if ((${#targets[@]} == 0)); then
  [[ -f $bin/fuzz-targets.txt ]] || { echo "no fuzz targets built in $bin" >&2; exit 2; }
  mapfile -t targets < "$bin/fuzz-targets.txt"
fi

artifacts=build/fuzz/fuzz-artifacts
mkdir -p "$artifacts"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

if [[ -n $seconds ]]; then
  limit=(-max_total_time="$seconds")
else
  limit=(-runs="$runs")
fi

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1:strict_string_checks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}

passed=0
failed=0
summary=()
for target in "${targets[@]}"; do
  [[ -x $bin/$target ]] || { echo "missing fuzz target $bin/$target" >&2; exit 2; }
  corpus=$work/$target
  mkdir -p "$corpus"
  if [[ -d fuzz/corpus/$target ]]; then
    cp fuzz/corpus/"$target"/* "$corpus"/
  fi
  options=("${limit[@]}" -print_final_stats=1 -timeout=20 -rss_limit_mb=2560
           -artifact_prefix="$artifacts/$target-")
  if [[ -f fuzz/dict/$target.dict ]]; then
    options+=(-dict="fuzz/dict/$target.dict")
  fi
  log=$work/$target.log
  printf '\n=== %s ===\n' "$target"
  started=$(date +%s.%N)
  status=0
  "$bin/$target" "${options[@]}" "$corpus" > "$log" 2>&1 || status=$?
  elapsed=$(awk -v start="$started" -v end="$(date +%s.%N)" 'BEGIN { printf "%.2f", end - start }')
  executions=$(awk '/^stat::number_of_executed_units:/ { print $2 }' "$log")
  # libFuzzer's own figure divides by whole seconds; this one uses the measured time (which
  # includes start-up and loading the corpus).
  rate=$(awk -v n="${executions:-0}" -v t="$elapsed" 'BEGIN { printf "%.0f", (t > 0 ? n / t : 0) }')
  if ((status == 0)); then
    passed=$((passed + 1))
    line=$(printf '%-22s ok      %9s runs  %8s exec/s  %6ss' "$target" "${executions:-?}" "$rate" "$elapsed")
  else
    failed=$((failed + 1))
    line=$(printf '%-22s FAILED  (exit %s) after %ss' "$target" "$status" "$elapsed")
    # The report: what broke and the input that broke it.
    grep -m1 -E -A30 'INVARIANT BROKEN|ERROR: (AddressSanitizer|LeakSanitizer|libFuzzer)|runtime error' "$log" || tail -30 "$log"
    grep -m1 -E 'Test unit written to' "$log" || true
  fi
  echo "$line"
  summary+=("$line")
done

printf '\n=== fuzz summary ===\n'
printf '%s\n' "${summary[@]}"
echo "fuzz: $passed passed, $failed failed"
((failed == 0))
