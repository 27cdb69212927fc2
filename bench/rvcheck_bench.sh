#!/usr/bin/env bash
# rvcheck --rehearse beside a plain copy, and many shops with one and with two processes. Times by the clock in seconds,
# the best of the runs; seconds of processor time behind them.
#   rvcheck_bench.sh DIRECTORY-OF-PROGRAMS
#
# Set by the environment:
#   RVCHK_BENCH_SERIES   series of the large shop, 100000 when it isn't given
#   RVCHK_BENCH_SHOPS    how many shops of 2000 series, 100 when it isn't given
#   RVCHK_BENCH_ROUNDS   runs of each, 3 when it isn't given
#   TMPDIR               where shops and copies are made (about 4 kB a series), /tmp when it isn't given
set -eu
bin=$(realpath "$1")
series=${RVCHK_BENCH_SERIES:-100000} shops=${RVCHK_BENCH_SHOPS:-100} rounds=${RVCHK_BENCH_ROUNDS:-3}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TMPDIR=$work/copies LC_ALL=C
mkdir "$TMPDIR" "$work/shops"

# measure WHAT COMMAND...: prints the best time, which stays in `best`.
measure() {
  local what=$1 TIMEFORMAT='%R %U %S' all=() now
  shift
  for ((round = 0; round < rounds; round++)); do
    now=$({ time "$@" >/dev/null 2>&1; } 2>&1)
    all+=("$now")
    rm -rf "$work/plain"
  done
  read -r best user system < <(printf '%s\n' "${all[@]}" | sort -n)
  printf '%-45s %8.2f  %8.2f\n' "$what" "$best" "$(calculate "$user + $system")"
}
calculate() { awk "BEGIN {print $1}"; }

"$bin/tools/mkshop" "$work/large" --series "$series" >/dev/null
for ((i = 0; i < shops; i++)); do
  "$bin/tools/mkshop" "$work/shops/$i" --series 2000 --seed $((i + 1)) >/dev/null
done
printf '%-45s %8s  %8s\n' "" clock processor
measure "cp -a, $series series" cp -a "$work/large" "$work/plain"
copy=$best
measure "rvcheck --rehearse, $series series" "$bin/rvcheck" --rehearse --quiet "$work/large"
printf '%-45s %8.2f\n' "  ratio" "$(calculate "$best / $copy")"
measure "rvcheck --rehearse -j 1, $shops shops" "$bin/rvcheck" --rehearse --quiet -j 1 "$work"/shops/*
one=$best
measure "rvcheck --rehearse -j 2, $shops shops" "$bin/rvcheck" --rehearse --quiet -j 2 "$work"/shops/*
printf '%-45s %8.2f\n' "  ratio" "$(calculate "$one / $best")"
