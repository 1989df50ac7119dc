#!/usr/bin/env bash
# Installs what is missing, builds the release configuration, runs dplsync
# on the bundled example and then the example installer (deploying and
# removing two instances), each against a scratch machine root.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j2 --target dplsync dpl_deploy_instance >/dev/null

demo=$(mktemp -d /tmp/dpl-demo.XXXXXX)
trap 'rm -rf "$demo"' EXIT
# A scratch machine: its services database and (empty) registry.
mkdir -p "$demo/root/etc"
printf 'ol_demo_svc\t9088/tcp\t# Orvandex demo\nol_demo_shm\t9089/tcp\n' >"$demo/root/etc/services"
cp examples/sqlhosts.example "$demo/sqlhosts.source"
export DPL_SYSROOT="$demo/root" INSTALL_LOG="$demo/dplsync.log"
dplsync=build/release/bin/dplsync

echo "\$ dplsync   (no arguments)"
"$dplsync" || echo "exit status $?"
echo
echo "\$ dplsync -source sqlhosts.source -target sqlhosts.target -servers ol_demo"
"$dplsync" -source "$demo/sqlhosts.source" -target "$demo/sqlhosts.target" -servers ol_demo
echo "exit status $?"
echo "--- sqlhosts.target"
cat "$demo/sqlhosts.target"
echo
echo "\$ dplsync -source sqlhosts.source      (into the local registry)"
"$dplsync" -source "$demo/sqlhosts.source" || echo "(exit status $?)"
echo
echo "--- the machine's registry ($DPL_SYSROOT/var/lib/dpl/registry.reg)"
cat "$DPL_SYSROOT/var/lib/dpl/registry.reg"
echo "--- log file"
cat "$INSTALL_LOG"
echo "--- first lines of the debug file"
head -n 12 "$INSTALL_LOG.debug"

echo
echo "=== the example installer: examples/deploy_instance.c"
# A fresh scratch machine, and an installation directory as an installer
# lays it down (the set-up scripts go into etc/sysadmin).
machine=$demo/machine
mkdir -p "$machine/etc" "$demo/inst/etc/sysadmin"
printf 'svc_a\t9001/tcp\n' >"$machine/etc/services"
export DPL_SYSROOT=$machine INSTALL_LOG=$demo/deploy.log
echo "\$ dpl_deploy_instance $demo/inst"
build/release/bin/dpl_deploy_instance "$demo/inst"
echo "exit status $?"
echo "--- what is left in the installation directory"
(cd "$demo/inst" && find . -type f | sort)
echo "--- the machine's registry keys"
grep '^\[' "$DPL_SYSROOT/var/lib/dpl/registry.reg" | tr -d '\r'
echo "--- its services database"
cat "$DPL_SYSROOT/etc/services"
