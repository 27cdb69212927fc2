#!/bin/sh
# Writes the changelog of the Debian package, made of the headings and points of CHANGELOG.md:
#
#     changelog.sh PACKAGE MAINTAINER CHANGELOG.md
#
# The date is that of the last commit to the file, or that of the file where there is no git.
set -eu

package=$1
maintainer=$2
changes=$3
cd "$(dirname "$changes")"
date=$(git log -1 --format=%aD -- "$(basename "$changes")" 2> /dev/null || true)
[ -n "$date" ] || date=$(LC_ALL=C date -u -R -r "$changes")

awk -v package="$package" -v signature=" -- $maintainer  $date" '
    # A point, broken into lines of less than 80.
    function flush(    words, count, i, line) {
        count = split(point, words, " ")
        line = "  *"
        for (i = 1; i <= count; i++) {
            if (length(line) + length(words[i]) > 77) {
                print line
                line = "   "
            }
            line = line " " words[i]
        }
        if (count > 0) {
            print line
        }
        point = ""
    }
    function finish() {
        flush()
        if (open) {
            printf "\n%s\n", signature
        }
    }
    /^## / { finish(); if (open) { print "" }; printf "%s (%s) unstable; urgency=medium\n\n", package, $2; open = 1; next }
    /^- / { flush(); point = substr($0, 3); next }
    /^  / { point = point " " $0 }
    END { finish() }
' "$(basename "$changes")"
