#!/usr/bin/env bash
# Builds everything and runs all tests. The preset is release, or the one that is named:
#   scripts/test.sh [release|debug|sanitize]
set -u
. "$(dirname "$0")/common.sh"

preset=${1:-release}
[ -d "$root/build/$preset" ] ||
  echo "The first run takes about 10 minutes on two cores, and 1 GB in build/." >&2
install_missing "${build_packages[@]}" "${test_packages[@]}"
configure_preset "$preset" -DRVCHK_TESTS=ON
build_preset "$preset"
# Tests that watch a real terminal may trip over a busy machine once; a fault trips them again.
run_tests() {
  ctest --preset "$preset" --repeat until-pass:2 -j "$(nproc)"
}
step "Testing ($preset)" run_tests
grep -E 'tests passed' "$log"

# The fuzzers, each for a moment; RVCHK_FUZZ_SECONDS and RVCHK_FUZZ_RUNS make it longer.
configure_preset fuzz
build_preset fuzz
step "Fuzzing" ctest --preset fuzz -j "$(nproc)"
grep -E 'tests passed' "$log"
