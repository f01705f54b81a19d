#!/usr/bin/env bash
# The quality battery: a reduced set of Debian's dieharder tests over the
# 32-bit output of every pseudo-random generator this build makes (as
# rng_to_stdout --list finds them), and over std::mt19937 as the control.
# Prints one table of p-values, a row per test (and tuple size where a test
# has several), a column per generator; a p-value dieharder judges WEAK is
# marked "w", FAILED "F".  Exits 1 when a generator fails a test that the
# control passes.
#
# The set leaves out the slowest tests (32x32 binary rank 40 s, GCD 150 s,
# STS runs and serial 45 s together, the generalised minimum distance and
# the DAB tests), the ones dieharder itself marks suspect or unusable (OPSO,
# OQSO, DNA, sums), and runs each test with its default number of
# p-samples: a minute per generator on an idle core, 2.5 minutes on a
# loaded machine.
#
# Usage: tools/check_long_dieharder.sh [PATH/TO/rng_to_stdout] [SEED]
set -uo pipefail
tool=${1:-build/release/tools/rng_to_stdout}
seed=${2:-20261124}
# birthdays, OPERM5, 6x8 binary rank, bitstream, count-the-1s (stream and
# byte), parking lot, 2d circle, 3d sphere, squeeze, runs, craps, STS
# monobit, RGB permutations, lagged sums and Kolmogorov-Smirnov, byte
# distribution.
TESTS=(0 1 3 4 8 9 10 11 12 13 15 16 100 202 203 204 205)

command -v dieharder >/dev/null || { echo "check-long: dieharder is not installed" >&2; exit 2; }
[ -x "$tool" ] || { echo "check-long: $tool not built" >&2; exit 2; }

mapfile -t generators < <("$tool" --list | awk '{print $1}')
generators+=(std_mt19937)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

echo "dieharder: ${#TESTS[@]} tests over ${generators[*]} (seed $seed)"
start=$(date +%s)
for g in "${generators[@]}"; do
    for d in "${TESTS[@]}"; do
        # Lines "name| ntup| tsamples| psamples| p-value| assessment".
        "$tool" "$g" "$seed" 2>/dev/null | dieharder -g 200 -d "$d" 2>/dev/null |
            awk -F'|' -v g="$g" 'NF == 6 && $5 ~ /[0-9]\./ {
                gsub(/ /, "", $1); gsub(/ /, "", $2); gsub(/ /, "", $5); gsub(/ /, "", $6);
                print $1 "/" $2, g, $5, $6 }' >>"$work/results"
    done
    echo "  $g done ($(( $(date +%s) - start )) s)"
done

awk -v gens="${generators[*]}" '
    BEGIN { n = split(gens, g, " ") }
    { if (!($1 in seen)) { seen[$1] = 1; order[++rows] = $1 }
      mark = $4 == "PASSED" ? " " : ($4 == "WEAK" ? "w" : "F")
      cell[$1, $2] = sprintf("%.4f%s", $3, mark)
      if ($4 == "FAILED") failed[$1, $2] = 1 }
    END {
        printf "%-26s", "test/ntup"
        for (i = 1; i <= n; ++i) printf " %13s", substr(g[i], 1, 13)
        printf "\n"
        for (r = 1; r <= rows; ++r) {
            printf "%-26s", order[r]
            for (i = 1; i <= n; ++i) printf " %13s", ((order[r], g[i]) in cell) ? cell[order[r], g[i]] : "-"
            printf "\n"
        }
        bad = 0
        for (r = 1; r <= rows; ++r)
            for (i = 1; i < n; ++i)
                if (((order[r], g[i]) in failed) && !((order[r], g[n]) in failed)) {
                    printf "FAIL: %s fails %s, which %s passes\n", g[i], order[r], g[n]; bad = 1 }
        if (!bad) printf "no generator fails a test that %s passes\n", g[n]
        exit bad
    }' "$work/results"
