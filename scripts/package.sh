#!/usr/bin/env bash
# Builds the program and packs it: a Debian package in build/release.
set -u
. "$(dirname "$0")/common.sh"

install_missing "${build_packages[@]}" "${package_packages[@]}"
configure_preset release
build_preset release
pack() {
  cd "$root/build/release" && cpack
}
step "Packing" pack
ls "$root"/build/release/*.deb
