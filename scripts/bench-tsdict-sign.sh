#!/usr/bin/env bash
# Throughput of `tsdict sign` on a large file against the engine's own benchmark (bench_skein on
# 1 MiB messages), from the release build. The file is read once beforehand, so both figures are
# taken with its bytes in the page cache.
#
#   scripts/bench-tsdict-sign.sh [SIZE_MIB]     (default 1024: a 1 GiB file)
set -euo pipefail
cd "$(dirname "$0")/.."

mib=${1:-1024}
build=build/release
cmake --build --preset release --target tsdict bench_skein >/dev/null

file=$(mktemp "${TMPDIR:-/tmp}/tsdict-sign.XXXXXX")
trap 'rm -f "$file"' EXIT
head -c $((mib << 20)) /dev/urandom > "$file"
cat "$file" > /dev/null

best=
for _ in 1 2 3; do
  start=$(date +%s.%N)
  "$build"/tools/tsdict/tsdict sign "$file" > /dev/null
  seconds=$(awk -v s="$start" -v e="$(date +%s.%N)" 'BEGIN { print e - s }')
  best=$(awk -v a="${best:-$seconds}" -v b="$seconds" 'BEGIN { print (b < a ? b : a) }')
done
tool=$(awk -v m="$mib" -v s="$best" 'BEGIN { printf "%.1f", m / s }')

# Google Benchmark reports bytes_per_second in MiB/s ("605.3M/s").
engine=$("$build"/bench/bench_skein --benchmark_filter='BM_SkeinMessage/1048576$' \
  --benchmark_min_time=2 2>/dev/null | awk '/BM_SkeinMessage/ { for (i = 1; i <= NF; ++i) if ($i ~ /^bytes_per_second=/) { sub(/bytes_per_second=/, "", $i); sub(/M\/s$/, "", $i); print $i } }')

awk -v t="$tool" -v e="$engine" -v m="$mib" 'BEGIN {
  printf "tsdict sign, %d MiB file (best of 3): %8.1f MiB/s\n", m, t
  printf "bench_skein, 1 MiB messages:         %8.1f MiB/s\n", e
  printf "tsdict / engine: %.1f %%\n", 100 * t / e }'
