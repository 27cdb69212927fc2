#!/usr/bin/env bash
# A rehearsal leaves the shop alone: no system call writes, creates, locks or changes a time below its directory,
# every file has the same digest and times afterwards, and it works where nothing can be written.
#   rehearse.sh RVCHECK MKSHOP
set -u
rvcheck=$1 mkshop=$2
work=$(mktemp -d) && trap 'chmod -R u+w "$work"; rm -rf "$work"' EXIT
shop=$work/shop
export TMPDIR=$work/copies
mkdir "$TMPDIR"

fail() { printf '%s\n' "$@" && exit 1; }

# What each file is; the reading of the digests must not touch what is compared.
digests() { (cd "$shop" && find . -type f -exec sha256sum {} + | sort); }
times() { (cd "$shop" && find . -printf '%p %s %m %A@ %T@ %C@\n' | sort); }

"$mkshop" "$shop" --series 20 --fault series-count --fault price-label-none --fault ean-missing \
  --fault index-ean-swapped --fault journal-short >/dev/null || fail "no shop was made"
find "$shop" -exec touch -d '2020-01-02 03:04:05.5' {} +
digests >"$work/digests"
times >"$work/times"

# The paths of descriptors stand in the trace, and all paths are absolute: the directory of the shop is never the
# current one. What may be done below it is told here; all else is a fault. Each process has a trace of its own, so
# no call is cut in two.
cd "$work" || exit 1
# The search for leaks of a sanitizer fails under strace.
ASAN_OPTIONS=detect_leaks=0 strace -ff -y -qq -s 0 -o "$work/trace" -e trace=%file,%desc,%process \
  "$rvcheck" --rehearse "$shop" >"$work/out" 2>&1
status=$?
[ $((status & ~5)) -eq 0 ] && [ "$status" -ne 0 ] || fail "status $status" "$(cat "$work/out")"
grep -hF "$shop" "$work"/trace.* | grep -v '^execve(' >"$work/touched"
[ "$(grep -c 'O_RDONLY' "$work/touched")" -gt 20 ] || fail "the files of the shop were not read"
faults=$(grep -vE \
  -e '^(newfstatat|statx|l?stat|fstat|readlink|readlinkat|read|pread64|lseek|getdents64|close)\(' \
  -e '^(access|faccessat2?|f?statfs|fadvise64)\(' \
  -e '^openat\([^,]*, [^,]*, O_RDONLY(\|O_(NOCTTY|NOATIME|NONBLOCK|CLOEXEC|DIRECTORY))*\)' \
  -e '^fcntl\([^,]*, F_[SG]ET(FD|FL)' \
  -e "^copy_file_range\([0-9]+<${shop}[^>]*>, [^,]*, [0-9]+<$TMPDIR" \
  -e "^ioctl\([0-9]+<${TMPDIR}[^>]*>, (BTRFS_IOC_CLONE|FICLONE)" "$work/touched")
[ -z "$faults" ] || fail "not only read:" "$faults"

# Times first: the digests read the files.
times | cmp - "$work/times" || fail "times differ"
digests | cmp - "$work/digests" || fail "content differs"

# Where nothing can be written the result is the same, but for the time. No run has left its copy.
export TMPDIR=copies
if unshare -m true 2>/dev/null; then
  unshare -m sh -c 'mount --bind "$0" "$0" && mount -o remount,bind,ro "$0" && ! touch "$0/x" 2>/dev/null &&
    exec "$1" --rehearse "$0"' "$shop" "$rvcheck" >"$work/readonly" 2>&1
else
  chmod -R a-w "$shop" && "$rvcheck" --rehearse "$shop" >"$work/readonly" 2>&1
fi
[ $? -eq "$status" ] || fail "read-only gives another status" "$(cat "$work/readonly")"
[ -z "$(ls -A "$TMPDIR")" ] || fail "a copy is left: $(ls "$TMPDIR")"
sed -i -E 's/[0-9]+\.[0-9]+  /-  /' "$work/out" "$work/readonly"
diff "$work/out" "$work/readonly" || fail "read-only gives other findings"
