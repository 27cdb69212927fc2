#!/usr/bin/env bash
# Builds the program, makes a demo shop and starts rvchk860 in it.
#   scripts/demo.sh [options of mkshop, for example --fault NAME]
set -u
. "$(dirname "$0")/common.sh"

install_missing "${build_packages[@]}"
build_preset release -DRVCHK_TESTS=OFF

bin=$root/build/release
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
exec "$bin/rvchk860"
