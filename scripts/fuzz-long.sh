#!/usr/bin/env bash
# Long fuzzing runs, one target at a time under nice: each in-memory target
# runs until 10 million inputs or an hour (FUZZ_RUNS, FUZZ_LONG_SECONDS), then
# what it reached is merged into its corpus (only inputs that add coverage).
# One line of figures per target goes to $FUZZ_RESULTS (default
# /tmp/dpl-fuzz-long/results.tsv); a crash is kept beside it as
# <target>-crash-* and the next target runs.
#   scripts/fuzz-long.sh [target ...]
set -uo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
runs=${FUZZ_RUNS:-10000000}
seconds=${FUZZ_LONG_SECONDS:-3600}
out=${FUZZ_RESULTS:-/tmp/dpl-fuzz-long/results.tsv}
mkdir -p "$(dirname "$out")"
outdir=$(cd "$(dirname "$out")" && pwd)
targets=("$@")
((${#targets[@]})) || targets=(parse_size extract_vers compare_vers protocol path_translate sqlhosts_lines
                               chunk_line version_marker parse_aliases bufferpool autoconfig_settings reg_text
                               services_text onconfig_lines)
cmake --preset fuzz >/dev/null && cmake --build --preset fuzz -j2 >/dev/null || { echo "fuzz build failed"; exit 1; }
[[ -s $out ]] || printf 'target\tinputs\tseconds\tcov\tft\tcrashes\tinputs_per_second\tcorpus_added\tdate\n' >"$out"
for name in "${targets[@]}"; do
  [[ -x build/fuzz/bin/${name}_fuzz ]] || { echo "no target $name"; continue; }
  work=$(mktemp -d /tmp/dpl-fuzz-long.XXXXXX)
  # A copy, so that rebuilding the fuzz programs meanwhile does not touch it.
  program=$work/${name}_fuzz
  cp "build/fuzz/bin/${name}_fuzz" "$program"
  mkdir -p "$work/corpus"
  cp -r "fuzz/corpus/$name/." "$work/corpus/" 2>/dev/null
  before=$(ls "fuzz/corpus/$name" 2>/dev/null | wc -l)
  started=$(date +%s)
  (cd "$work" && nice -n 19 "$program" -runs="$runs" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
     -print_final_stats=1 -artifact_prefix="$outdir/$name-" corpus) >"$work/log" 2>&1
  elapsed=$(($(date +%s) - started))
  inputs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/log")
  rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$work/log")
  cov=$(grep -o 'cov: [0-9]*' "$work/log" | tail -1 | cut -d' ' -f2)
  ft=$(grep -o 'ft: [0-9]*' "$work/log" | tail -1 | cut -d' ' -f2)
  crashes=$(ls "$outdir" | grep -c "^$name-\(crash\|leak\|timeout\|oom\)-")
  mkdir -p "fuzz/corpus/$name"
  (cd "$work" && nice -n 19 "$program" -merge=1 "$root/fuzz/corpus/$name" corpus) >"$work/merge.log" 2>&1
  added=$(($(ls "fuzz/corpus/$name" | wc -l) - before))
  printf '%s\t%s\t%s\t%s\t%s\t%s\t%s\t%s\t%s\n' "$name" "${inputs:-?}" "$elapsed" "${cov:-?}" "${ft:-?}" "$crashes" \
    "${rate:-?}" "$added" "$(date -u +%F)" >>"$out"
  tail -1 "$out"
  cp "$work/log" "$outdir/$name.log"
  rm -rf "$work"
done
