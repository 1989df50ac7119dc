#!/usr/bin/env bash
# Installs what is missing, builds the release configuration and runs dplsync
# on the bundled example, against a scratch machine root.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j2 --target dplsync >/dev/null

demo=$(mktemp -d /tmp/dpl-demo.XXXXXX)
trap 'rm -rf "$demo"' EXIT
mkdir -p "$demo/root/etc"
cp examples/sqlhosts.example "$demo/sqlhosts.source"
export DPL_SYSROOT="$demo/root" INSTALL_LOG="$demo/dplsync.log"

echo "\$ dplsync   (no arguments)"
build/release/bin/dplsync || echo "exit status $?"
echo
echo "\$ dplsync -source sqlhosts.source -target sqlhosts.target -servers ol_demo"
build/release/bin/dplsync -source "$demo/sqlhosts.source" -target "$demo/sqlhosts.target" -servers ol_demo
echo "exit status $?"
echo
echo "--- log file ($INSTALL_LOG)"
cat "$INSTALL_LOG"
echo "--- first lines of the debug file"
head -n 12 "$INSTALL_LOG.debug"
