#!/usr/bin/env bash
# Installs a build with `cmake --install` into a scratch prefix, then builds
# and runs the plain C consumer in tests/consumer against it with
# find_package alone — what an installer's developer does with the package.
#   scripts/test-consumer.sh native    (uses build/release)
#   scripts/test-consumer.sh windows   (uses build/windows; runs under Wine,
#                                       WINEPREFIX set by the caller)
set -euo pipefail
cd "$(dirname "$0")/.."
kind=${1:-native}
work=$(mktemp -d /tmp/dpl-consumer.XXXXXX)
trap 'rm -rf "$work"' EXIT

case $kind in
native)
  cmake --install build/release --prefix "$work/prefix" >/dev/null
  cmake -S tests/consumer -B "$work/build" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
  cmake --build "$work/build" >/dev/null
  mkdir -p "$work/root"
  DPL_SYSROOT="$work/root" INSTALL_LOG="$work/install.log" "$work/build/dpl_consumer"
  ;;
windows)
  cmake --install build/windows --prefix "$work/prefix" >/dev/null
  # A cross toolchain searches packages only below its roots: the scratch
  # prefix is given as one, nothing else.
  cmake -S tests/consumer -B "$work/build" -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/mingw-w64-x86_64.cmake" \
    -DCMAKE_FIND_ROOT_PATH="$work/prefix" >/dev/null
  cmake --build "$work/build" >/dev/null
  # The program beside dpl.dll, as an installer lays them down.
  cp "$work/build/dpl_consumer.exe" "$work/prefix/bin/"
  (cd "$work/prefix/bin" && INSTALL_LOG="$work/install.log" wine ./dpl_consumer.exe) | tr -d '\r'
  ;;
*)
  echo "usage: $0 native|windows" >&2
  exit 2
  ;;
esac
