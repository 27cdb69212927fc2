#!/usr/bin/env bash
# Many shops as docs/fleet.md tells: GNU parallel, broken off and resumed, and tables that agree with the faults that
# were put in. Two shops in three are sound; one is locked by another process, one has a system file that is cut.
#   fleet.sh RVCHECK MKSHOP FLEET.JQ        RVCHK_FLEET_SHOPS: how many shops (30)
set -u
rvcheck=$(realpath "$1") mkshop=$(realpath "$2") tables=$(realpath "$3")
count=${RVCHK_FLEET_SHOPS:-30}
memory=/dev/shm
[ -w "$memory" ] || memory=
work=$(mktemp -d ${memory:+-p "$memory"}) holder=
trap '[ -z "$holder" ] || kill "$holder"; rm -rf "$work"' EXIT
cd "$work" || exit 1

fail() { printf '%s\n' "$@" && exit 1; }

# A fault, the code under which it is found, and whether it is mended or left.
faults=(series-count:series.1:mended label-orphan-unknown:labels.5:mended customer-no-name:customers.105:left
  ean-missing:ean.1:mended journal-short:journals.3:left price-block-lost:prices.5:mended group-no-name:master.1:left
  criteria-block-lost:order_criteria.1:mended customer-title-unknown:titles.1:left transit-no-entry:transit.1:mended)
cut=1 locked=4 bad=0
mkdir shops
for ((i = 0; i < count; i++)); do
  shop=$work/shops/$(printf '%04d' "$i") fault='' code='' result=sound later=sound
  if [ "$i" -eq "$cut" ]; then
    result='not checked' later='not checked'
  elif [ "$i" -eq "$locked" ]; then
    result='not checked'
  elif [ $((i % 3)) -eq 1 ]; then
    IFS=: read -r fault code result <<<"${faults[bad++ % ${#faults[@]}]}"
    [ "$result" = mended ] || result='findings left' later='findings left'
    printf '%s\n' "$code" >>codes
  fi
  "$mkshop" "$shop" --series 10 ${fault:+--fault "$fault"} >/dev/null || fail "no shop with $fault"
  printf '%s\t%s\n' "machine$((i % 2))" "$shop" >>shops.tsv
  printf '%s\n' "$result" >>results
  printf '%s\n' "$later" >>results_later
done
truncate -s 100 shops/0001/RVSYS.TXT
exec 3< <(exec python3 -c 'import fcntl, sys, time
file = open(sys.argv[1], "r+b"); fcntl.lockf(file, fcntl.LOCK_EX); print("held", flush=True); time.sleep(600)' \
  shops/0004/RVSYS.TXT)
holder=$!
read -r _ <&3

# The machines are this one.
mkdir bin
printf '#!/bin/sh\nwhile [ "${1#-}" != "$1" ]; do shift; done\nshift\nexec sh -c "$*"\n' >bin/ssh
chmod +x bin/ssh
ln -s "$rvcheck" bin/rvcheck
PATH=$work/bin:$PATH
check_all() {
  parallel -j 2 --colsep '\t' --tagstring {1} --joblog fleet.log --resume "$@" -a shops.tsv \
    ssh -n {1} rvcheck --yes --wait 1 --quiet --json - {2} >>fleet.jsonl 2>>errors
}
check_all --halt soon,done=5
[ "$(grep -c '"type":"shop"' fleet.jsonl)" -lt "$count" ] || fail "not broken off"
check_all
[ "$(grep -c '"type":"shop"' fleet.jsonl)" -eq "$count" ] || fail "not each shop once" "$(cat fleet.log errors)"

compare() {
  diff <(sort | uniq -c | sed 's/^ *//' | sort) <(sort "$1") || fail "not what was put in (<)" "$(cat table errors)"
}
# part N PROGRAM: rows of a table by awk, the tables counted from 0.
part() {
  awk -F'\t' -v wanted="$1" '/^$/ {part++; getline; next} NR > 1 && part + 0 == wanted {'"$2"'}' table >rows
}
jq -Rrn -f "$tables" fleet.jsonl >table
part 0 'print $1, $5'
compare rows <codes
part 0 'print $2, $5'
compare rows <codes
part 1 'print $1, $2'
compare rows <results
part 2 'print $1, $2'
printf 'machine%d %s\n' 0 "$work/shops/0004" 1 "$work/shops/0001" | diff - <(sort rows) || fail "other shops not checked"

# What was mended is mended, and one process for all shops finds what a process for each has found.
kill "$holder" && holder=
"$rvcheck" --rehearse -j 2 --quiet --json again.jsonl shops/* >/dev/null 2>>errors
jq -Rrn -f "$tables" again.jsonl >table
part 1 'print $1, $2'
compare rows <results_later
