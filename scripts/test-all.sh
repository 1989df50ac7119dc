#!/usr/bin/env bash
# Builds and runs the whole test suite: the native build with sanitizers, then
# the Windows build under Wine in a throwaway prefix. Ends with one summary line.
set -uo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
scripts/install-deps.sh || exit 1

passed=0
failed=0
status=0
logs=$(mktemp -d /tmp/dpl-test-logs.XXXXXX)

# Adds the counts of a ctest log ("N% tests passed, F tests failed out of T").
count_ctest() {
  local line total fails
  line=$(grep -E 'tests passed, [0-9]+ tests? failed out of [0-9]+' "$1" | tail -1)
  if [[ -z $line ]]; then
    failed=$((failed + 1))
    return
  fi
  fails=$(sed -E 's/.* ([0-9]+) tests? failed out of ([0-9]+).*/\1/' <<<"$line")
  total=$(sed -E 's/.* ([0-9]+) tests? failed out of ([0-9]+).*/\2/' <<<"$line")
  passed=$((passed + total - fails))
  failed=$((failed + fails))
}

# Adds the counts of GoogleTest's own closing lines.
count_gtest() {
  local ok bad
  ok=$(grep -E '^\[  PASSED  \] [0-9]+ test' "$1" | tail -1 | sed -E 's/.*\] ([0-9]+) test.*/\1/')
  bad=$(grep -E '^\[  FAILED  \] [0-9]+ test' "$1" | tail -1 | sed -E 's/.*\] ([0-9]+) test.*/\1/')
  if [[ -z $ok && -z $bad ]]; then
    failed=$((failed + 1))
    return
  fi
  passed=$((passed + ${ok:-0}))
  failed=$((failed + ${bad:-0}))
}

# A script that ends with "<word>: ok" when all went well: one passed or
# failed step. Arguments: what to print, the log's name, <word>, the command.
script_step() {
  local label=$1 log=$logs/$2.log word=$3
  shift 3
  if "$@" >"$log" 2>&1 && grep -q "^$word: ok\$" "$log"; then
    echo "$label: ok"
    passed=$((passed + 1))
  else
    grep -E "^(FAILED|$word)" "$log" | tail -30
    tail -5 "$log"
    status=1
    failed=$((failed + 1))
  fi
}

echo "== native build (dev preset: AddressSanitizer, UndefinedBehaviorSanitizer)"
if cmake --preset dev >"$logs/native-configure.log" 2>&1 &&
   cmake --build --preset dev -j2 >"$logs/native-build.log" 2>&1; then
  ctest --preset dev -j2 2>&1 | tee "$logs/native-test.log" | tail -5
  [[ ${PIPESTATUS[0]} -eq 0 ]] || status=1
  count_ctest "$logs/native-test.log"
else
  cat "$logs"/native-*.log | tail -40
  status=1
  failed=$((failed + 1))
fi

echo "== valgrind: a whole dplsync run (release build), no leak and no error"
if cmake --preset release >"$logs/release-configure.log" 2>&1 &&
   cmake --build --preset release -j2 --target dplsync dpl_deploy_instance >"$logs/release-build.log" 2>&1; then
  vg=$(mktemp -d /tmp/dpl-valgrind.XXXXXX)
  mkdir -p "$vg/etc"
  printf 'svc_a 9001/tcp\n' >"$vg/etc/services"
  printf '# c\nol_a onsoctcp localhost svc_a\nol_b onipcshm localhost ol_b k=1\n' >"$vg/source"
  if DPL_SYSROOT="$vg" INSTALL_LOG="$vg/log" valgrind --quiet --leak-check=full --show-leak-kinds=all \
       --errors-for-leak-kinds=all --error-exitcode=9 build/release/bin/dplsync -source "$vg/source" \
       -target "$vg/target" -servers ol_a ol_b >"$logs/valgrind.log" 2>&1; then
    echo "valgrind: clean"
    passed=$((passed + 1))
  else
    cat "$logs/valgrind.log" | tail -30
    status=1
    failed=$((failed + 1))
  fi
  rm -rf "$vg"
  echo "== installed package: a C consumer built with find_package (native)"
  script_step "consumer (native)" consumer-native consumer scripts/test-consumer.sh native
  echo "== the example installer: deploy two instances, check, remove, check (native, scratch machine root)"
  script_step "example (native)" example-native example scripts/test-example.sh native
else
  cat "$logs"/release-*.log | tail -40
  status=1
  failed=$((failed + 1))
fi

echo "== Windows build (MinGW-w64) under Wine"
if cmake --preset windows >"$logs/windows-configure.log" 2>&1 &&
   cmake --build --preset windows -j2 >"$logs/windows-build.log" 2>&1; then
  WINEPREFIX=$(mktemp -d /tmp/dpl-wine.XXXXXX)
  export WINEPREFIX WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
  wineboot --init >/dev/null 2>&1
  # Let the new prefix settle: its service manager answers for services it
  # has just created only once the first start-up is over.
  wineserver -w
  (cd build/windows/bin && wine ./dpl_tests.exe) >"$logs/windows-test.log" 2>&1
  [[ $? -eq 0 ]] || status=1
  grep -E '^\[  (FAILED|PASSED) ' "$logs/windows-test.log" | tail -20
  grep -B3 -A15 ': Failure$' "$logs/windows-test.log" | head -80
  count_gtest "$logs/windows-test.log"
  script_step "consumer (Windows, under Wine)" consumer-windows consumer scripts/test-consumer.sh windows
  script_step "example (Windows, under Wine)" example-windows example scripts/test-example.sh windows
  # Every fuzz corpus replayed by the Windows build of its target.
  for program in build/windows/bin/*_replay.exe; do
    name=$(basename "$program" _replay.exe)
    # Wine maps the Unix root to drive Z: (winepath sometimes answers nothing).
    corpus="Z:${root//\//\\}\\fuzz\\corpus\\$name"
    if (cd build/windows/bin && wine "./${name}_replay.exe" "$corpus") >"$logs/replay-$name.log" 2>&1; then
      passed=$((passed + 1))
    else
      echo "replay $name under Wine: FAILED"
      tail -20 "$logs/replay-$name.log"
      status=1
      failed=$((failed + 1))
    fi
  done
  wineserver -k >/dev/null 2>&1 || true
  rm -rf "$WINEPREFIX"
else
  cat "$logs"/windows-*.log | tail -40
  status=1
  failed=$((failed + 1))
fi

echo "== libFuzzer targets (${FUZZ_SECONDS:-12} s each)"
scripts/run-fuzzers.sh | tee "$logs/fuzz.log"
[[ ${PIPESTATUS[0]} -eq 0 ]] || status=1
passed=$((passed + $(grep -c 'no crash$' "$logs/fuzz.log")))
failed=$((failed + $(grep -c 'FAILED' "$logs/fuzz.log")))
# A fuzz build that fails runs no target: that counts too.
grep -q '^fuzz build failed' "$logs/fuzz.log" && failed=$((failed + 1))

rm -rf "$logs"
cd "$root"
echo "dpl: $passed passed, $failed failed"
exit $status
