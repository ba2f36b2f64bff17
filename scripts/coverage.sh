#!/usr/bin/env bash
# Line and branch coverage of the library's own code by the whole test suite: the sources in
# foundation/src and core/dictionary/src, and the inline code of the public headers as far as the
# tests instantiate it. Tests, benchmarks and system headers are not counted.
#
# Builds the coverage preset (GCC 12, --coverage -O0) in build/coverage, runs every test with
# ctest, then reports with gcovr: a per-file table and the totals on standard output, an HTML
# report with annotated sources in build/coverage/coverage-report/index.html.
#
# Branch figures leave out the branches that GCC adds for exception propagation out of every call
# that may throw (--exclude-throw-branches): they are no decisions of the code, and counting them
# would need each callee to throw at each call site.
#
# Environment: TSD_COVERAGE_MIN_LINES, the line coverage below which the script fails (default 95).
set -euo pipefail
cd "$(dirname "$0")/.."

min_lines=${TSD_COVERAGE_MIN_LINES:-95}

./scripts/install-deps.sh --coverage

# The preset updates counters atomically: the thread-stress tests run instrumented code on several
# threads at once, and plain counter increments then lose counts or wrap negative, which gcov
# cannot read back.
cmake --preset coverage
cmake --build --preset coverage -j 2
# Counters from an earlier run would add up with this one's.
find build/coverage -name '*.gcda' -delete
ctest --preset coverage

report_dir=build/coverage/coverage-report
rm -rf "$report_dir"
mkdir -p "$report_dir"
gcovr --root . --object-directory build/coverage \
  --filter 'foundation/src/' --filter 'core/dictionary/src/' \
  --filter 'foundation/include/' --filter 'core/dictionary/include/' \
  --exclude-throw-branches --exclude-unreachable-branches \
  --txt - --html-details "$report_dir/index.html" --print-summary \
  --fail-under-line "$min_lines"
