#!/usr/bin/env bash
# Installs the Debian packages that building and testing TsDictionary needs, skipping those
# already present. Options, any number of them: --sanitizers adds Clang 14 and its sanitizer
# runtimes (the asan, tsan and fuzz presets), --valgrind adds Valgrind and jq
# (scripts/run-valgrind.sh), --coverage adds gcovr (scripts/coverage.sh), --packaging adds
# dpkg-dev, file and lintian (Debian packages: cpack --preset package).
set -euo pipefail

packages=(cmake ninja-build g++ pkg-config libboost-dev libboost-thread-dev libboost-program-options-dev
          libgtest-dev libbenchmark-dev nlohmann-json3-dev pybind11-dev python3-dev python3-pytest doxygen)
for option in "$@"; do
  case $option in
    --sanitizers) packages+=(clang-14 libclang-rt-14-dev) ;;
    --valgrind) packages+=(valgrind jq) ;;
    --coverage) packages+=(gcovr) ;;
    --packaging) packages+=(dpkg-dev file lintian) ;;
    *) echo "install-deps.sh: unknown option $option" >&2; exit 2 ;;
  esac
done

missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$package")
  fi
done
if ((${#missing[@]} == 0)); then
  exit 0
fi

sudo=()
if [[ $(id -u) -ne 0 ]]; then
  sudo=(sudo)
fi
echo "Installing: ${missing[*]}"
"${sudo[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
