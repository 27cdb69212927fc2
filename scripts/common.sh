# Shared by the scripts of this directory: where things are, steps that say what they do, packages.
# Sourced, not run.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
log=$(mktemp)
trap 'rm -f "$log"' EXIT

build_packages=(g++ cmake make libc-dev-bin libncurses-dev ncurses-bin ncurses-term libboost-dev libcli11-dev
  nlohmann-json3-dev libfmt-dev)
package_packages=(dpkg-dev file)
test_packages=(python3 jq parallel strace libgtest-dev libvterm-dev faketime "${package_packages[@]}"
  lintian clang libclang-rt-14-dev)
bench_packages=(libbenchmark-dev libsqlite3-dev liblmdb-dev)
lint_packages=(clang-tidy cppcheck)

# Reads the output of a step and tells what the step is doing now: the percentage of a build, how many tests
# have passed, the package being unpacked. On a terminal that is one line, always drawn again; in a log it is
# a line every 15 seconds.
show_now() {
  local what=$1 line now passed=0 width told=$SECONDS
  width=$(tput cols 2>/dev/null || echo 80)
  while IFS= read -r line; do
    now=
    if [[ $line =~ ^\[\ *([0-9]+%)\]\ (.*) ]]; then
      now="${BASH_REMATCH[1]} ${BASH_REMATCH[2]}"
    elif [[ $line =~ ^\ *([0-9]+/[0-9]+)\ Test\ +\#[0-9]+:\ ([^ ]+) ]]; then
      case $line in
        *" Passed "*) passed=$((passed + 1)) ;;
      esac
      now="test ${BASH_REMATCH[1]}, $passed passed, ${BASH_REMATCH[2]}"
    elif [[ $line =~ ^(Get:|Unpacking|Setting\ up) ]]; then
      now=$line
    fi
    if [ -z "$now" ]; then
      continue
    elif [ -t 2 ]; then
      printf '\r\033[K%.*s' "$((width - 1))" "$what: $now" >&2
    elif [ $((SECONDS - told)) -ge 15 ]; then
      told=$SECONDS
      printf '%s: %s\n' "$what" "$now" >&2
    fi
  done
  [ ! -t 2 ] || printf '\r\033[K' >&2
}

# step "What it does" command...: one line when it begins and one with the time it took; when it fails, the
# end of its output. Returns only after success.
step() {
  local what=$1 status began=$SECONDS
  shift
  printf '%s ...' "$what" >&2
  [ -t 2 ] || echo >&2
  "$@" 2>&1 | tee "$log" | show_now "$what"
  status=${PIPESTATUS[0]}
  if [ "$status" -ne 0 ]; then
    printf '%s failed: %s\n' "$what" "$*" >&2
    tail -n 60 "$log" | grep -vE '^ *(Start +[0-9]+:|[0-9]+/[0-9]+ Test .* Passed)' >&2
    exit 1
  fi
  printf '%s: done in %s s\n' "$what" "$((SECONDS - began))" >&2
}

# Installs those Debian packages that are missing. Where nobody may install them, says which they are and
# what an administrator would type.
install_missing() {
  local missing=() package as_root=()
  for package in "$@"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  printf 'Missing Debian packages: %s\n' "${missing[*]}" >&2
  if [ "$(id -u)" -ne 0 ]; then
    # Asks for the password here, where it can be seen.
    if ! command -v sudo >/dev/null || ! sudo -v; then
      printf 'They cannot be installed without the rights of root. An administrator types\n\n' >&2
      printf '    apt-get update && apt-get install --no-install-recommends %s\n\n' "${missing[*]}" >&2
      printf 'After that this script needs no more rights.\n' >&2
      exit 1
    fi
    as_root=(sudo)
  fi
  step "Reading the package lists" "${as_root[@]}" apt-get update
  "${as_root[@]}" apt-get install --assume-no --no-install-recommends "${missing[@]}" 2>/dev/null |
    grep -E '^(Need to get|After this operation)' >&2
  step "Installing packages" "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y --no-install-recommends "${missing[@]}"
}

# configure_preset PRESET [cmake option...]
configure_preset() {
  local preset=$1
  shift
  cd "$root" || exit 1
  step "Configuring ($preset)" cmake --preset "$preset" "$@"
}

# build_preset PRESET [TARGET...]: all of them when none is named.
build_preset() {
  local preset=$1
  shift
  step "Building ($preset)" cmake --build --preset "$preset" -j "$(nproc)" ${1:+--target "$@"}
}
