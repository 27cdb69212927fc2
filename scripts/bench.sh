#!/usr/bin/env bash
# Builds the benchmarks and runs them: the indexed store beside SQLite and LMDB, all checks, and rvcheck.
#   scripts/bench.sh [store_bench|check_bench|rvcheck_bench] [option of that benchmark]...
set -u
. "$(dirname "$0")/common.sh"

install_missing "${build_packages[@]}" "${bench_packages[@]}"
configure_preset release -DRVCHK_BENCH=ON
build_preset release
rvcheck_bench() {
  "$root/bench/rvcheck_bench.sh" "$root/build/release"
}
if [ "${1:-}" = rvcheck_bench ]; then
  rvcheck_bench
elif [ $# -gt 0 ]; then
  name=$1
  shift
  "$root/build/release/bench/$name" "$@"
else
  "$root/build/release/bench/store_bench" && "$root/build/release/bench/check_bench" && rvcheck_bench
fi
