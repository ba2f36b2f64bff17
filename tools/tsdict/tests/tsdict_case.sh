#!/usr/bin/env bash
# Runs one command test row: the command after "--", with standard input from /dev/null or the
# file given by --in, and checks its exit status, its standard output and its standard error.
#   tsdict_case.sh STATUS STDOUT_ERE STDERR_ERE [--in FILE] -- COMMAND [ARGS...]
# The patterns are POSIX extended expressions matched against the whole output less its final
# line break ("^...$" anchors the whole text; "." also matches a line break). An empty
# STDERR_ERE demands no error output; error output is never more than one line.
set -u
expected_status=$1 stdout_pattern=$2 stderr_pattern=$3
shift 3
input=/dev/null
if [[ $1 == --in ]]; then
  input=$2
  shift 2
fi
[[ $1 == -- ]] || { echo "tsdict_case.sh: expected -- before the command" >&2; exit 2; }
shift

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
"$@" <"$input" >"$scratch/out" 2>"$scratch/err"
status=$?
out=$(cat "$scratch/out")
err=$(cat "$scratch/err")

failed=0
fail() { echo "FAILED: $*"; failed=1; }
((status == expected_status)) || fail "exit status $status, expected $expected_status"
[[ $out =~ $stdout_pattern ]] || fail "standard output does not match: $stdout_pattern"
if [[ -z $stderr_pattern ]]; then
  [[ -z $err ]] || fail "unexpected error output"
else
  [[ $err =~ $stderr_pattern ]] || fail "error output does not match: $stderr_pattern"
  [[ $err != *$'\n'* ]] || fail "error output is more than one line"
fi
if ((failed)); then
  printf -- '--- command:'; printf ' %q' "$@"; printf '\n--- standard output:\n%s\n--- error output:\n%s\n' "$out" "$err"
fi
exit "$failed"
