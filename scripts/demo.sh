#!/usr/bin/env bash
# Builds the program, makes a demo shop and starts rvchk860 in it.
set -u

if [ "${1:-}" = --help ] || [ "${1:-}" = -h ]; then
  cat <<'TEXT'
Usage: scripts/demo.sh [OPTION OF mkshop]...
Installs the Debian packages that are missing, builds rvchk860 in build/release, makes a shop in
build/demo-shop (what was there is replaced) and starts rvchk860 in it.

  scripts/demo.sh                         a sound shop
  scripts/demo.sh --fault series-count    a shop with a fault that entry 11 finds
  scripts/demo.sh --checked 1             a shop that was checked yesterday

All options go to mkshop. After the first build, build/release/tools/mkshop --help lists them.
TEXT
  exit 0
fi
. "$(dirname "$0")/common.sh"

bin=$root/build/release
[ -x "$bin/rvchk860" ] ||
  echo "The first build takes about 2 minutes on two cores, and 10 MB in build/." >&2
install_missing "${build_packages[@]}"
configure_preset release
build_preset release rvchk860 rvcheck mkshop ixreorgk terminfo

shop=$root/build/demo-shop
export TERM=${TERM:-xterm}
export TERMINFO_DIRS=$bin/terminfo:
# A terminal of today shows UTF-8; say so where the environment says nothing.
[ -n "${LC_ALL:-}${LC_CTYPE:-}${LANG:-}" ] || export LC_CTYPE=C.UTF-8

if ! infocmp "${TERM^}" >/dev/null 2>&1; then
  if ! "$root/terminfo/make-entries.sh" -o "$bin/terminfo" "$TERM" 2>/dev/null; then
    printf 'No description of the terminal %s; it is taken for xterm-256color.\n' "$TERM" >&2
    export TERM=xterm-256color
  fi
fi
step "Making the demo shop" "$bin/tools/mkshop" "$shop" --force "$@"

if size=$(stty size 2>/dev/null); then
  read -r lines columns <<<"$size"
  if [ "$lines" -lt 25 ] || [ "$columns" -lt 80 ]; then
    printf 'This window is %s lines by %s columns; rvchk860 is made for 25 by 80.\n' "$lines" "$columns"
    printf 'It works, but some lines do not fit. Press Enter to start, or make the window larger first. '
    read -r _
  fi
fi
cd "$shop" || exit 1
rm -f "$log" # exec skips the exit trap
exec "$bin/rvchk860"
