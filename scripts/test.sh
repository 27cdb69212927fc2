#!/usr/bin/env bash
# Builds everything and runs all tests. The preset is release, or the one that is named:
#   scripts/test.sh [release|debug|sanitize]
set -u
. "$(dirname "$0")/common.sh"

preset=${1:-release}
install_missing "${build_packages[@]}" "${test_packages[@]}"
build_preset "$preset" -DRVCHK_TESTS=ON
# Tests that watch a real terminal may trip over a busy machine once; a fault trips them again.
if ! ctest --preset "$preset" --repeat until-pass:2 -j "$(nproc)" >"$log" 2>&1; then
  grep -vE '^ *(Start +[0-9]+:|[0-9]+/[0-9]+ Test .* Passed)' "$log" >&2
  exit 1
fi
grep -E 'tests passed' "$log"

# The fuzzers, each for a moment; RVCHK_FUZZ_SECONDS and RVCHK_FUZZ_RUNS make it longer.
build_preset fuzz
step "Fuzzing" ctest --preset fuzz -j "$(nproc)"
grep -E 'tests passed' "$log"
