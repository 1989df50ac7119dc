#!/usr/bin/env python3
"""Writes the README's table of long fuzzing runs from fuzz/long-runs.tsv
(written by scripts/fuzz-long.sh) and fuzz/rates-alone.tsv (inputs per
second of each target run by itself for 20 seconds)."""
import pathlib

root = pathlib.Path(__file__).resolve().parent.parent
TARGETS = ["parse_size", "extract_vers", "compare_vers", "protocol", "path_translate", "sqlhosts_lines",
           "chunk_line", "version_marker", "parse_aliases", "bufferpool", "autoconfig_settings", "reg_text",
           "services_text", "onconfig_lines"]
HEADER = "| Target | Inputs | Time | cov / ft reached | Findings | Inputs per second: long run (niced) / alone |"


def rows(name):
    lines = (root / "fuzz" / name).read_text().splitlines()[1:]
    return [line.split("\t") for line in lines if line.strip()]


def main():
    runs = {row[0]: row for row in rows("long-runs.tsv")}  # the last run of a target counts
    alone = {row[0]: int(row[1]) for row in rows("rates-alone.tsv")}
    table = [HEADER, "|---|---|---|---|---|---|"]
    for target in TARGETS:
        rate = f"{alone[target]:,}" if target in alone else "-"
        if target not in runs:
            table.append(f"| {target} | not yet run long | | | | - / {rate} |")
            continue
        _, inputs, seconds, cov, ft, crashes, per_second = runs[target][:7]
        findings = "none" if crashes == "0" else crashes
        table.append(f"| {target} | {int(inputs):,} | {int(seconds)} s | {cov} / {ft} | {findings} "
                     f"| {int(per_second):,} / {rate} |")
    readme = root / "README.md"
    text = readme.read_text()
    start = text.index(HEADER)
    end = text.index("\n\n", start)
    readme.write_text(text[:start] + "\n".join(table) + text[end:])


if __name__ == "__main__":
    main()
