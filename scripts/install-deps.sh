#!/usr/bin/env bash
# Installs the Debian packages the build, the tests, the fuzzers and the
# benchmarks need, when any is missing. Needs root (or sudo) on a fresh machine.
set -euo pipefail

packages=(cmake make g++ googletest libgtest-dev libbenchmark-dev clang libclang-rt-14-dev
          g++-mingw-w64-x86-64-posix wine wine64 clang-format valgrind libcrypt-dev)
missing=()
for package in "${packages[@]}"; do
  dpkg -s "$package" >/dev/null 2>&1 || missing+=("$package")
done
if ((${#missing[@]})); then
  echo "installing: ${missing[*]}"
  sudo_cmd=()
  [[ $(id -u) -ne 0 ]] && sudo_cmd=(sudo)
  "${sudo_cmd[@]}" apt-get update -qq
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq "${missing[@]}" >/dev/null
fi
