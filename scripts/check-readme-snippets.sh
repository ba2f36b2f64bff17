#!/usr/bin/env bash
# Compiles, links and runs every C++ code block of README.md (fenced as ```cpp) against the built
# library, so that what the README shows is what a host can paste.
#
# A block with a main() is a whole program. Any other block becomes the body of one: its
# preprocessor lines (#include ...) go to the top of the file, everything else into main(). A
# block that needs functions or types of its own at file scope is written as a whole program.
#
# Usage: scripts/check-readme-snippets.sh [build-dir]     (default build/release, built already)
# Environment: CXX (default g++), CXXSTD (default c++17).
set -euo pipefail
cd "$(dirname "$0")/.."

build_dir=${1:-build/release}
[[ -e $build_dir/libTsDictionary.so ]] || {
  echo "check-readme-snippets.sh: no libTsDictionary.so in $build_dir; build the library first" >&2
  exit 1
}
libdir=$(cd "$build_dir" && pwd)
compiler=${CXX:-g++}
standard=${CXXSTD:-c++17}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# One file per block, block-N.txt, and its first line in README.md in block-N.line.
awk -v dir="$work" '
  /^```cpp[[:space:]]*$/ { inside = 1; n++; file = dir "/block-" n ".txt"; printf "" > file
                           print NR + 1 > (dir "/block-" n ".line"); next }
  inside && /^```/       { inside = 0; close(file); next }
  inside                 { print >> file }
' README.md

shopt -s nullglob
blocks=("$work"/block-*.txt)
((${#blocks[@]} > 0)) || { echo "check-readme-snippets.sh: README.md has no cpp block" >&2; exit 1; }

failed=0
for block in "${blocks[@]}"; do
  name=$(basename "$block" .txt)
  line=$(cat "$work/$name.line")
  source=$work/$name.cpp
  # Every line keeps its README.md line number (#line), so that messages point into the README.
  if grep -Eq '\bmain[[:space:]]*\(' "$block"; then
    { echo "#line $line \"README.md\""; cat "$block"; } >"$source"
  else
    awk -v first="$line" '
      { directive = "#line " (first + NR - 1) " \"README.md\"" }
      /^[[:space:]]*#/ { top = top directive "\n" $0 "\n"; next }
                       { body = body directive "\n" $0 "\n" }
      END { printf "%sint main() {\n%s}\n", top, body }
    ' "$block" >"$source"
  fi
  # Warnings are errors, except for variables a tour declares only to show a result.
  if ! "$compiler" -std="$standard" -Wall -Wextra -Wpedantic -Werror -Wno-unused-variable \
      -Wno-unused-but-set-variable -Ifoundation/include -Icore/dictionary/include "$source" \
      -o "$work/$name" -L"$libdir" -lTsDictionary -lboost_thread -Wl,-rpath,"$libdir" 2>"$work/$name.log"; then
    echo "README.md:$line: the cpp block does not build:"
    cat "$work/$name.log"
    failed=1
    continue
  fi
  if ! "$work/$name" >"$work/$name.out" 2>&1; then
    echo "README.md:$line: the cpp block builds but its program fails:"
    cat "$work/$name.out"
    failed=1
    continue
  fi
  echo "README.md:$line: the cpp block builds and runs"
done
exit "$failed"
