#!/usr/bin/env bash
# Lines of tests for each 100 lines of code: all lines of the files under version control. The benchmarks and
# the fuzzers are counted with neither. Fails above the limit.
#   scripts/lines.sh [LIMIT]     42 when it isn't given; the aim is 33
set -eu
cd "$(dirname "$0")/.."
limit=${1:-42}
aim=33
code=(base store data check screen report print run command tools catalog terminfo scripts)

lines_in() { git ls-files -z -- "$@" | xargs -0r cat | wc -l; }

for room in "${code[@]}"; do
  printf '%8d  %s\n' "$(lines_in "$room")" "$room"
done
of_code=$(lines_in "${code[@]}")
of_tests=$(lines_in tests)
share=$((of_tests * 100 / of_code))
printf '%8d  tests: %d for each 100 of the %d lines of code (at most %d, aim %d)\n' \
  "$of_tests" "$share" "$of_code" "$limit" "$aim"
if [ "$share" -gt "$limit" ]; then
  echo "There are too many lines of tests: make them fewer and sharper." >&2
  exit 1
fi
