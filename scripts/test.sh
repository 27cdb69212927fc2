#!/usr/bin/env bash
# Builds everything, runs all tests, and counts their lines. The preset is release, or the one that is named:
#   scripts/test.sh [release|debug|sanitize]
set -u
. "$(dirname "$0")/common.sh"

preset=${1:-release}
[ -d "$root/build/$preset" ] ||
  echo "The first run takes about 10 minutes on two cores, and 1 GB in build/." >&2
install_missing "${build_packages[@]}" "${test_packages[@]}"
configure_preset "$preset" -DRVCHK_TESTS=ON
build_preset "$preset"

# A step for each directory of tests, so that a fault shows soon, and where.
passed_in_all=0
for room in $(ctest --preset "$preset" -N | sed -n 's|^ *Test *#[0-9]*: \([a-z]*\)/.*|\1|p' | awk '!seen[$0]++'); do
  step "Testing $room ($preset)" ctest --preset "$preset" -R "^$room/" -j "$(nproc)" --no-tests=error
  passed_in_all=$((passed_in_all + $(grep -cE '^ *[0-9]+/[0-9]+ Test .* Passed ' "$log")))
  echo "$passed_in_all tests passed so far" >&2
done
echo "100% tests passed, 0 tests failed out of $passed_in_all"

# The fuzzers, each for a moment; scripts/soak.sh lets them, and the long tests, go on.
configure_preset fuzz
build_preset fuzz
step "Fuzzing" ctest --preset fuzz -j "$(nproc)"
grep -E 'tests passed' "$log"

scripts/lines.sh
