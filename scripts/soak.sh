#!/usr/bin/env bash
# Lets the long tests go on for so many minutes, in turns with new seeds: kills, random mixes of faults,
# damaged shops (under the sanitizers), programs beside each other, the store's model, keys at random, fuzzers.
# Ends with one table of what was tried and what failed; the exit status is 1 if anything did.
#   scripts/soak.sh MINUTES [SEED [WHAT]]
#   SEED: where a former run ended, so that this one tries something else. WHAT: only the rows with these
#   words, as a regular expression
set -u
. "$(dirname "$0")/common.sh"

minutes=${1:-}
if ! [[ $minutes =~ ^[1-9][0-9]*$ ]]; then
  sed -n '2,7s/^# \{0,1\}//p' "$0" >&2
  exit 2
fi
seed=${2:-1}
wanted=${3:-}
failures=$root/build/soak

# What is tried | preset | tests, as a regular expression | times as many rounds as in a short run
rows=(
  "Kills in the store|release|^store/store_crash|20"
  "Kills and ends of each check|release|^check/Ends|10"
  "Mixes of faults|release|^check/.*ManyFaults|10"
  "Damaged shops, sanitizers|sanitize|^check/Damaged|10"
  "A till beside the checks|release|^check/TillBeside|10"
  "Programs on one pair|release|^store/store_share|15"
  "The store and its model|release|^store/.*model|5"
  "The store and its model, sanitizers|sanitize|^store/.*model|1"
  "Prices and their model|release|^sub/PriceStore|20"
  "Made shops|release|^tools/|10"
  "Keys at random, sanitizers|sanitize|^screen/RandomKeys|2"
  "Fuzzers|fuzz|^fuzz/|30"
)

for i in "${!rows[@]}"; do
  [[ ${rows[i]%%|*} =~ $wanted ]] || unset "rows[i]"
done
if [ ${#rows[@]} -eq 0 ]; then
  echo "No row has the words: $wanted" >&2
  exit 2
fi

install_missing "${build_packages[@]}" "${test_packages[@]}"
for preset in $(printf '%s\n' "${rows[@]}" | cut -d'|' -f2 | sort -u); do
  [ "$preset" = fuzz ] && tests=() || tests=(-DRVCHK_TESTS=ON)
  configure_preset "$preset" "${tests[@]}"
  build_preset "$preset"
done
mkdir -p "$failures"

declare -a turns rounds failed seconds
end=$((SECONDS + minutes * 60))
# Broken off, it tells what was tried so far.
trap 'end=0' INT TERM
time_left() { [ "$SECONDS" -lt "$end" ]; }

# One turn of a row. What fails leaves its output, its seed at the head, in build/soak.
turn() {
  local i=$1 what preset tests factor began=$SECONDS output kept tried
  IFS='|' read -r what preset tests factor <<<"${rows[i]}"
  output="$failures/$((i + 1))-$seed.log"
  echo "RVCHK_SEED=$seed RVCHK_ROUNDS=$factor ctest --preset $preset -R '$tests'" >"$output"
  # The limit of the preset is for short runs.
  if ! RVCHK_SEED=$seed RVCHK_ROUNDS=$factor RVCHK_FUZZ_SECONDS=$factor RVCHK_FUZZ_RUNS=-1 \
    ctest --preset "$preset" -R "$tests" -V --no-tests=error --timeout 3600 -j "$(nproc)" >>"$output" 2>&1; then
    [ "$end" -ne 0 ] || return  # broken off
    failed[i]=$((${failed[i]:-0} + 1))
    printf 'FAILED with seed %d: %s; see %s\n' "$seed" "$what" "$output" >&2
    kept=$output
  else
    kept=
  fi
  tried=$(sed -nE 's/.*(rounds:|number_of_executed_units:) *([0-9]+)/\2/p' "$output" | paste -sd+)
  rounds[i]=$((${rounds[i]:-0} + ${tried:-0}))
  [ -n "$kept" ] || rm -f "$output"
  turns[i]=$((${turns[i]:-0} + 1))
  seconds[i]=$((${seconds[i]:-0} + SECONDS - began))
}

while time_left; do
  for i in "${!rows[@]}"; do
    time_left || break
    printf '%3d of %d minutes, seed %d: %s\n' "$(((SECONDS - end) / 60 + minutes))" "$minutes" "$seed" "${rows[i]%%|*}" >&2
    turn "$i"
  done
  seed=$((seed + 1000))
done

printf '\n%-44s %6s %14s %8s %8s\n' "What was tried" "Turns" "Rounds, inputs" "Seconds" "Failed"
all_failed=0
for i in "${!rows[@]}"; do
  printf '%-44s %6d %14d %8d %8d\n' "${rows[i]%%|*}" "${turns[i]:-0}" "${rounds[i]:-0}" "${seconds[i]:-0}" "${failed[i]:-0}"
  all_failed=$((all_failed + ${failed[i]:-0}))
done
if [ "$all_failed" -gt 0 ]; then
  echo "$all_failed failed: their output lies in $failures, with the command that does it again at its head." >&2
  exit 1
fi
echo "Nothing failed. The next run may go on with: scripts/soak.sh $minutes $seed"
