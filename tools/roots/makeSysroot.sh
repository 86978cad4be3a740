#!/bin/bash
# SPDX-License-Identifier: MPL-2.0

# Unpacks the libraries that an armhf build needs: makeSysroot.sh FOLDER PACKAGE...
#
# Does nothing when the folder already holds this list of packages. Runs no maintainer scripts and leaves the
# machine's own packages alone. Exit status 77: it cannot be done here, the last line says why.
set -uo pipefail
folder=$(realpath -m "$1")
shift
making=$folder.making
list=usr/share/orvel-packages

say() { printf '%s\n' "$*" >&2; }

skip() {
  say "Skipped: $*"
  exit 77
}

# The Debian mirror that apt is configured with; fails when there is none. The security suite is left out:
# its armhf packages are often late, and libraries of different versions do not install together.
sources() {
  local mirror suite
  # shellcheck disable=SC2016
  mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Origin: Debian' \
    'Codename: bookworm' 'Component: main' | head -n 1)
  [ -n "$mirror" ] || return
  for suite in bookworm bookworm-updates; do
    echo "deb $mirror $suite main"
  done
}

download() { # SOURCES PACKAGE...: writes a tar archive
  local sources=$1 options include
  shift
  options=$(mktemp) || return
  # Reach the mirror as apt does on this machine.
  apt-config dump | grep -E '^Acquire::(https?|Retries|Check)' >"$options"
  include=$(IFS=, && echo "$*")
  echo "$sources" | mmdebstrap --variant=extract --architectures=armhf --format=tar --aptopt="$options" \
    --include="$include" bookworm - -
  local status=$?
  rm -f "$options"
  return $status
}

# The emulator looks for each path in the sysroot first: the folders left out here stay the machine's own.
unpack() {
  local hidden
  hidden=$(printf -- '--exclude=./%s ' boot dev home media mnt opt proc root run srv sys tmp var)
  # shellcheck disable=SC2086  # one word a folder
  tar --extract --directory "$making" --no-same-owner $hidden \
    --exclude=./usr/share/{doc,man,locale}
}

# Absolute links would lead out of the sysroot, to the machine's own libraries.
make_links_relative() {
  find "$making" -type l -lname '/*' | while read -r link; do
    local parent
    parent=$(dirname "${link#"$making"}")
    # Resolved as text only: the link's target is relative to the sysroot, not to this file system.
    ln -sfn "$(realpath -ms --relative-to="$parent" "$(readlink "$link")")" "$link"
  done
}

[ "$(cat "$folder/$list" 2>/dev/null)" != "$*" ] || exit 0
command -v mmdebstrap >/dev/null || skip "mmdebstrap is not installed"
sources=$(sources) ||
  skip "apt knows no mirror of Debian 12 (run apt-get update, or add one to its sources)"
say "Unpacking armhf packages into $folder, about 1 minute"
rm -rf "$making"
mkdir -p "$making" || exit
download "$sources" "$@" | unpack || {
  rm -rf "$making"
  skip "the armhf packages cannot be downloaded or unpacked (mmdebstrap says why above; it needs root, or" \
    "user namespaces and the package uidmap)"
}
make_links_relative
XDG_DATA_DIRS=$making/usr/share update-mime-database "$making/usr/share/mime" || exit
echo "$*" >"$making/$list"
rm -rf "$folder"
mv "$making" "$folder"
