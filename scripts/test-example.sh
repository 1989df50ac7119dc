#!/usr/bin/env bash
# Installs a build with `cmake --install` into a scratch prefix and runs the
# installed example installer, dpl_deploy_instance, on a scratch installation
# directory: first with --keep, then with --remove. Checks what the
# deployment leaves (files, registry keys, services entries, Windows
# services) and that after the removal nothing is left but what the removal
# keeps on purpose: the JSON listener's service, its services entry and its
# property file.
#   scripts/test-example.sh native    (uses build/release; scratch DPL_SYSROOT)
#   scripts/test-example.sh windows   (uses build/windows; runs under Wine,
#                                      WINEPREFIX set by the caller)
# Ends with "example: ok" or "example: N failed".
set -uo pipefail
cd "$(dirname "$0")/.."
kind=${1:-native}
work=$(mktemp -d /tmp/dpl-example.XXXXXX)
trap '[[ -n ${KEEP_WORK:-} ]] || rm -rf "$work"' EXIT
inst=$work/inst
failures=0

check() { # description, then a command that must succeed
  local what=$1
  shift
  if "$@" >/dev/null 2>&1; then
    echo "ok      $what"
  else
    echo "FAILED  $what"
    failures=$((failures + 1))
  fi
}
absent() { ! "$@"; }
has_line() { grep -qF -- "$2" "$1"; }

# The installation directory as an installer lays it down, and what is in
# it (names and contents) before anything is deployed.
mkdir -p "$inst/etc/sysadmin" "$inst/bin"
printf 'the product\n' >"$inst/bin/README"
snapshot() { (cd "$inst" && find . -type f -exec md5sum {} + | sort && find . -type d | sort); }
snapshot >"$work/before"

case $kind in
native)
  cmake --install build/release --prefix "$work/prefix" >/dev/null || exit 1
  root=$work/root
  mkdir -p "$root/etc"
  printf 'svc_a 9001/tcp\nsvc_b 9002/tcp\n' >"$root/etc/services"
  services=$root/etc/services
  registry=$root/var/lib/dpl/registry.reg
  dir=$inst
  run() { DPL_SYSROOT="$root" INSTALL_LOG="$work/install.log" "$work/prefix/bin/dpl_deploy_instance" "$@"; }
  # The store's lines end in CR LF. A key exists when its section is there.
  store() { tr -d '\r' <"$registry"; }
  key() { store | grep -qxF "[HKEY_LOCAL_MACHINE\\$1]"; }
  # A string value, as the store writes it: "NAME"="DATA".
  # (Texts reach awk through its environment: -v would read "\" as an escape.)
  value() { SECTION="[HKEY_LOCAL_MACHINE\\$1]" LINE="\"$2\"=\"$3\"" awk \
    '$0 == ENVIRON["SECTION"] { inside = 1; next } /^\[/ { inside = 0 } inside && $0 == ENVIRON["LINE"] { found = 1 }
     END { exit !found }' < <(store); }
  sep=/
  ;;
windows)
  cmake --install build/windows --prefix "$work/prefix" >/dev/null || exit 1
  services=$WINEPREFIX/drive_c/windows/system32/drivers/etc/services
  # Wine maps the Unix root to drive Z:; spelled out here because winepath
  # itself sometimes answers nothing on a busy machine.
  dir="Z:${inst//\//\\}"
  log="Z:${work//\//\\}\\install.log"
  run() { (cd "$work/prefix/bin" && INSTALL_LOG="$log" wine ./dpl_deploy_instance.exe "$@") | tr -d '\r'; }
  key() { wine reg query "HKLM\\$1" >/dev/null 2>&1; }
  # "reg query" prints a value as: blanks, name, blanks, type, blanks, data.
  value() { wine reg query "HKLM\\$1" 2>/dev/null | tr -d '\r' |
    NAME=$2 DATA=$3 awk '{ sub(/^ +/, ""); n = $1; sub(/^[^ ]+ +[^ ]+ +/, "") }
      n == ENVIRON["NAME"] && $0 == ENVIRON["DATA"] { found = 1 } END { exit !found }'; }
  sep='\'
  forget_listener() {
    wine sc delete ol_demo_json >/dev/null 2>&1
    sed -i '/^ol_demo_json[[:space:]]/d' "$services"
  }
  forget_listener
  ;;
*)
  echo "usage: $0 native|windows" >&2
  exit 2
  ;;
esac
cp "$services" "$work/services.before" 2>/dev/null || : >"$work/services.before"
# Rewritten in text mode, the file may change its line ends: they are not compared.
entries() { tr -d '\r' <"$1" | awk '!/^#/ && NF >= 2 { print $1, $2 }' | sort; }

echo "\$ dpl_deploy_instance --keep $dir"
run --keep "$dir" | tee "$work/deploy.out"
check "deployment exits 0" test "${PIPESTATUS[0]}" -eq 0
check "deployment reports done" has_line "$work/deploy.out" "done: deployed and kept"

for file in ol_demo.cmd ol_work.cmd etc/onconfig.ol_demo etc/onconfig.ol_work etc/sqlhosts.ol_demo \
  etc/jsonListener.properties etc/oncfg_ol_demo.1 etc/oncfg_ol_work.2 ol_demo.log ol_work.log \
  data/ol_demo/rootdbs.000 data/ol_work/rootdbs.000 data/ol_work/datadbs.000 data/ol_work/logdbs.000 \
  mirror/ol_work/rootmirr.000; do
  check "file $file" test -f "$inst/$file"
done
for server in ol_demo ol_work; do
  script=$inst/etc/sysadmin/sch_init_$server.sql
  check "$server: set-up script opens sysadmin" test "$(head -n 1 "$script" 2>/dev/null | tr -d '\r')" = "DATABASE sysadmin;"
  check "$server: set-up script closes it" has_line "$script" "CLOSE DATABASE;"
  check "$server: environment file" has_line "$inst/$server.cmd" "set ORVANDEXSERVER=$server"
  check "$server: onconfig names the server" has_line "$inst/etc/onconfig.$server" "DBSERVERNAME $server"
  check "$server: registry environment" value "SOFTWARE\\Orvandex\\Online\\$server\\Environment" \
    ORVANDEXSERVER "$server"
  check "$server: service" value "SYSTEM\\CurrentControlSet\\Services\\$server" DisplayName "Orvandex NQR - $server"
done
check "ol_demo: the demonstration routine" has_line "$inst/etc/sysadmin/sch_init_ol_demo.sql" \
  "EXECUTE FUNCTION qvx_setup_system('$dir${sep}data${sep}ol_demo');"
check "ol_demo: the listener's lines" has_line "$inst/etc/sysadmin/sch_init_ol_demo.sql" \
  "LET json_listener = 'jsonListener.properties';"
check "ol_demo: connection in the sqlhosts file" has_line "$inst/etc/sqlhosts.ol_demo" "ol_demo onsoctcp 127.0.0.1 "
check "ol_demo: listener service" value 'SYSTEM\CurrentControlSet\Services\ol_demo_json' DisplayName \
  'Talix JSON listener - ol_demo_json'
check "ol_demo: listener services entry" grep -qE '^ol_demo_json[[:space:]]+[0-9]+/tcp' "$services"
for statement in '"create dbspace", "datadbs"' '"add mirror", "datadbs"' '"create dbspace", "logdbs"' \
  '"alter plog", "logdbs"' '"add log", "logdbs"'; do
  check "ol_work: script statement $statement" has_line "$inst/etc/sysadmin/sch_init_ol_work.sql" "$statement"
done
check "ol_work: connection key" value 'SOFTWARE\Orvandex\SQLHOSTS\ol_work' SERVICE ol_work_svc
check "ol_work: connection key of the alias" value 'SOFTWARE\Orvandex\SQLHOSTS\ol_work_tcp' SERVICE ol_work_tcp
check "ol_work: services entries" grep -qE '^ol_work_svc[[:space:]]+[0-9]+/tcp' "$services"
check "ol_work: services entries" grep -qE '^ol_work_tcp[[:space:]]+[0-9]+/tcp' "$services"

echo
echo "\$ dpl_deploy_instance --remove $dir"
run --remove "$dir" | tee "$work/remove.out"
check "removal exits 0" test "${PIPESTATUS[0]}" -eq 0
check "removal reports done" has_line "$work/remove.out" "done: removed"

# The installation directory: as before, plus the listener's property file.
snapshot | grep -v '/etc/jsonListener.properties$' >"$work/after"
check "installation directory as before" diff "$work/before" "$work/after"
check "listener property file kept" test -f "$inst/etc/jsonListener.properties"
check "no Orvandex key left" absent key 'SOFTWARE\Orvandex'
for server in ol_demo ol_work; do
  check "service $server gone" absent key "SYSTEM\\CurrentControlSet\\Services\\$server"
done
check "listener service kept" key 'SYSTEM\CurrentControlSet\Services\ol_demo_json'
# The services database: its old entries, and the listener's.
entries "$services" | grep -v '^ol_demo_json ' >"$work/services.after"
check "services entries as before" diff <(entries "$work/services.before") "$work/services.after"
check "listener services entry kept" grep -qE '^ol_demo_json[[:space:]]' "$services"

if [[ $kind == native ]]; then
  # Nothing else in the machine's registry: only the listener's service key
  # and the empty keys above it.
  check "registry holds nothing else" diff <(store | grep '^\[') <(printf '%s\n' '[HKEY_LOCAL_MACHINE]' \
    '[HKEY_LOCAL_MACHINE\SOFTWARE]' '[HKEY_LOCAL_MACHINE\SYSTEM]' '[HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet]' \
    '[HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Services]' \
    '[HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Services\ol_demo_json]')
fi

# What the removal keeps goes at the end, so that the prefix can deploy
# again (and before, in case an earlier run was stopped).
[[ $kind == windows ]] && forget_listener

if [[ $failures -eq 0 ]]; then
  echo "example: ok"
else
  echo "example: $failures failed"
  exit 1
fi
