# Shared by the scripts of this directory: where things are, quiet steps, packages. Sourced, not run.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
log=$(mktemp)
trap 'rm -f "$log"' EXIT

build_packages=(g++ cmake make libc-dev-bin libncurses-dev ncurses-bin ncurses-term libboost-dev)
test_packages=(python3 libgtest-dev libvterm-dev faketime cups cups-client dpkg-dev file clang libclang-rt-14-dev)

# step "What it does" command...: silent when it works, tells what failed and how when it does not.
step() {
  local what=$1
  shift
  if ! "$@" >"$log" 2>&1; then
    printf '%s failed: %s\n' "$what" "$*" >&2
    tail -n 60 "$log" >&2
    exit 1
  fi
}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  else
    sudo "$@"
  fi
}

# Installs those Debian packages that are not there yet.
install_missing() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  step "Reading the package lists" as_root apt-get update
  step "Installing ${missing[*]}" as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y --no-install-recommends "${missing[@]}"
}

# build_preset NAME [cmake options...]
build_preset() {
  local preset=$1
  shift
  cd "$root" || exit 1
  step "Configuring" cmake --preset "$preset" "$@"
  step "Building" cmake --build --preset "$preset" -j "$(nproc)"
}
