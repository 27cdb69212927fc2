#!/bin/sh
# Runs one fuzzer for a while in a directory of its own, from an empty corpus.
#   RVCHK_FUZZ_RUNS      inputs, 20000 when it isn't given
#   RVCHK_FUZZ_SECONDS   most seconds, 5 when it isn't given
# An input that fails stays in the directory, which is then named.
set -u
# What a stopped program leaves to the system is not a leak of its own.
export ASAN_OPTIONS=detect_leaks=0
directory=$(mktemp -d)
mkdir "$directory/corpus" && cd "$directory" || exit 1
if "$1" -runs="${RVCHK_FUZZ_RUNS:-20000}" -max_total_time="${RVCHK_FUZZ_SECONDS:-5}" -timeout=10 \
  -max_len=512 -len_control=0 -print_final_stats=1 -rss_limit_mb=4096 -artifact_prefix="$directory/" "$directory/corpus" >log 2>&1; then
  grep -E 'DONE|number_of_executed|average_exec' log
  cd / && rm -rf "$directory"
else
  cat log
  echo "The input lies in $directory"
  exit 1
fi
