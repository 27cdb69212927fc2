#!/usr/bin/env bash
# Runs clang-tidy (.clang-tidy) and cppcheck over the program and its tools; fails on any finding.
#   scripts/lint.sh [FILE.cpp...]      all of them when none is named
set -u
. "$(dirname "$0")/common.sh"

install_missing "${build_packages[@]}" "${lint_packages[@]}"
configure_preset release -B build/lint

if [ $# -gt 0 ]; then
  files=("$@")
else
  files=({base,store,screen,report,print,data,check/*,run,command,tools,tools/shop}/*.cpp)
fi
found=0

# The database has warnings of g++ that clang does not know.
printf '%s\n' "${files[@]}" |
  xargs -P "$(nproc)" -n 4 clang-tidy -p build/lint --quiet --extra-arg=-Wno-unknown-warning-option 2>/dev/null ||
  found=1

# Left out, and why:
#   useStlAlgorithm             a loop often reads as well
#   shadowFunction              "error" is both a finding of a check and the message box
#   nullPointerRedundantCheck, ctunullpointer   does not know that the fatal stops do not return
#   unusedStructMember          members of tables are used by position
#   invalidLifetime, CastIntegerToAddressAtReturn, redundantAssignment, passedByValue   mistakes of cppcheck
#                               about views, iterators and braces; small structures go by value
cppcheck --quiet --enable=warning,style,performance,portability --std=c++20 --inline-suppr --error-exitcode=1 \
  --suppress=missingInclude --suppress=useStlAlgorithm --suppress=shadowFunction \
  --suppress=nullPointerRedundantCheck --suppress=ctunullpointer --suppress=redundantAssignment \
  --suppress=unusedStructMember --suppress=invalidLifetime \
  --suppress=CastIntegerToAddressAtReturn --suppress=passedByValue \
  -D__cplusplus=202002L -I . "${files[@]}" || found=1
[ "$found" -eq 0 ] && echo "Nothing found."
exit "$found"
