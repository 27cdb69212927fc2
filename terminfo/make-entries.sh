#!/bin/sh
# Makes the terminal descriptions of rvchk860 from those in terminals.ti and those of the system.
#
#     make-entries.sh [-q] [-o DIRECTORY] NAME...
#
# For a terminal NAME, as in TERM, three descriptions are compiled: its name with a capital (25 lines of 80
# columns), the same with "-w" (25 by 132) and with "-l" (43 by 80). They go to DIRECTORY, or without -o to
# where tic puts them: ~/.terminfo, or the system's place for root. With -q a terminal that is not
# known is skipped; otherwise that is an error.
set -eu

here=$(dirname "$0")
directory=
quiet=
while getopts qo: option; do
    case $option in
        q) quiet=1 ;;
        o) directory=$OPTARG ;;
        *) exit 2 ;;
    esac
done
shift $((OPTIND - 1))
if [ $# -eq 0 ]; then
    echo "usage: make-entries.sh [-q] [-o DIRECTORY] NAME..." >&2
    exit 2
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
source=$work/source.ti
cat "$here/blocks.ti" > "$source"

# Our own are found before those of the system, which the empty last place stands for.
tic -x -o "$work/own" "$here/terminals.ti"
export TERMINFO_DIRS="$work/own:${TERMINFO_DIRS:-}"

# What the description does not say: the block that goes before it, and how the terminal is given
# another size: by window, by column mode, or not at all.
facts() {
    before=rv+keys
    wide=rv+wide
    long=rv+long
    case $1 in
        xterm-kitty* | xterm-ghostty* | screen* | tmux*)
            before=rv+keys,\ use=rv+margin
            ;;
        xterm* | rxvt* | vte* | gnome* | konsole* | putty* | mintty*)
            wide=rv+wide-window
            long=rv+long-window
            ;;
        vt[1-5][0-9][0-9]*)
            before=rv+keys,\ use=rv+vt
            wide=rv+wide-columns
            ;;
        ansi)
            before=rv+keys,\ use=rv+ansi
            ;;
    esac
}

# Cursor keys as the terminal has them, but the numeric pad types digits, signs and Enter.
keypad_of() {
    case $(infocmp -1 "$1" | sed -n 's/^[[:blank:]]*smkx=\(.*\),$/\1/p') in
        '\E[?1h\E=') echo ' smkx=\E[?1h\E>,' ;;
        '\E=') echo ' smkx=\E>,' ;;
    esac
}

names=
missing=
for name in "$@"; do
    if ! infocmp "$name" > /dev/null 2>&1; then
        missing="$missing $name"
        continue
    fi
    facts "$name"
    keypad=$(keypad_of "$name")
    capital=$(printf '%.1s' "$name" | tr '[:lower:]' '[:upper:]')${name#?}
    for variant in "|25 by 80|rv+normal" "-w|25 by 132|$wide" "-l|43 by 80|$long"; do
        suffix=${variant%%|*}
        rest=${variant#*|}
        printf '%s|%s,\n\tuse=%s,%s use=%s, use=rv+quiet, use=%s, use=rv+pc,\n' \
            "$capital$suffix" "$name of ${rest%|*}" "$before" "$keypad" "${rest#*|}" "$name" >> "$source"
        names="$names,$capital$suffix"
    done
done

if [ -n "$names" ]; then
    if [ -n "$directory" ]; then
        mkdir -p "$directory"
    fi
    tic -x -e "${names#,}" ${directory:+-o "$directory"} "$source"
fi
if [ -n "$missing" ] && [ -z "$quiet" ]; then
    echo "make-entries.sh: no description of:$missing" >&2
    exit 1
fi
