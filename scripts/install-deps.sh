#!/usr/bin/env bash
# Installs the Debian packages that building and testing TsDictionary needs, skipping those
# already present. Pass --sanitizers to add Clang 14 and its sanitizer runtimes (the asan preset).
set -euo pipefail

packages=(cmake ninja-build g++ pkg-config libboost-dev libboost-thread-dev libgtest-dev libbenchmark-dev)
if [[ ${1:-} == --sanitizers ]]; then
  packages+=(clang-14 libclang-rt-14-dev)
fi

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
