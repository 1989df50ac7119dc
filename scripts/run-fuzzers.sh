#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each for a bounded time
# (FUZZ_SECONDS, default 12: the whole step stays under three minutes) on a
# copy of its corpus. Long runs are made by hand, one target at a time (see
# the README).
set -uo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
seconds=${FUZZ_SECONDS:-12}
cmake --preset fuzz >/dev/null && cmake --build --preset fuzz -j2 >/dev/null || { echo "fuzz build failed"; exit 1; }
status=0
work=$(mktemp -d /tmp/dpl-fuzz.XXXXXX)
for program in build/fuzz/bin/*_fuzz; do
  name=$(basename "$program" _fuzz)
  mkdir -p "$work/$name"
  seeds=fuzz/corpus/$name
  [[ -d $seeds ]] || seeds=
  # Run inside the scratch directory: whatever a target writes by a relative
  # name lands there, never in the checkout.
  if (cd "$work" && "$root/$program" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -artifact_prefix="$work/$name-" \
       "$work/$name" ${seeds:+"$root/$seeds"}) >"$work/$name.log" 2>&1; then
    echo "fuzz $name: ${seconds}s, $(grep -c . <(ls "$work/$name")) corpus files, no crash"
  else
    echo "fuzz $name: FAILED"
    tail -30 "$work/$name.log"
    # The failing input outlives the scratch directory, to be kept as a finding.
    findings=${FUZZ_FINDINGS:-/tmp/dpl-fuzz-findings}
    mkdir -p "$findings" && cp "$work/$name"-* "$findings/" 2>/dev/null && echo "fuzz $name: input kept in $findings"
    status=1
  fi
done
rm -rf "$work"
exit $status
