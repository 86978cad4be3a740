#!/bin/bash
# SPDX-License-Identifier: MPL-2.0

# Unpacks the libraries that an armhf build needs: makeSysroot.sh FOLDER PACKAGE...
#
# Done once for a list of packages. No emulated maintainer scripts run, and the packages of the machine
# itself stay as they are. Exit status 77: it cannot be made here, the last line says why.
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

# The mirror that this machine installs from. The security suite is left out: its armhf packages often
# lag behind, and libraries of different versions do not install together.
sources() {
  local mirror
  # shellcheck disable=SC2016
  mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Codename: bookworm' |
    head -n 1)
  for suite in bookworm bookworm-updates; do
    echo "deb ${mirror:-http://deb.debian.org/debian} $suite main"
  done
}

download() { # PACKAGE...: writes a tar archive
  local options include
  options=$(mktemp) || return
  # How this machine reaches its mirror.
  apt-config dump | grep -E '^Acquire::(https?|Retries|Check)' >"$options"
  include=$(IFS=, && echo "$*")
  sources | mmdebstrap --variant=extract --architectures=armhf --format=tar --aptopt="$options" \
    --include="$include" bookworm - -
  local status=$?
  rm -f "$options"
  return $status
}

# What the emulator finds here hides what the machine has under the same path.
unpack() {
  local hidden
  hidden=$(printf -- '--exclude=./%s ' boot dev home media mnt opt proc root run srv sys tmp var)
  # shellcheck disable=SC2086  # one word a folder
  tar --extract --directory "$making" --no-same-owner $hidden \
    --exclude=./usr/share/{doc,man,locale}
}

# Absolute links would lead to the machine's own libraries.
make_links_relative() {
  find "$making" -type l -lname '/*' | while read -r link; do
    local parent
    parent=$(dirname "${link#"$making"}")
    # Resolved without the file system, which is laid out differently here.
    ln -sfn "$(realpath -ms --relative-to="$parent" "$(readlink "$link")")" "$link"
  done
}

[ "$(cat "$folder/$list" 2>/dev/null)" != "$*" ] || exit 0
command -v mmdebstrap >/dev/null || skip "mmdebstrap is not installed"
say "Unpacking armhf packages into $folder, about 1 minute"
rm -rf "$making"
mkdir -p "$making" || exit
download "$@" | unpack || {
  rm -rf "$making"
  skip "the armhf packages cannot be downloaded or unpacked (mmdebstrap says why above; it needs root, or" \
    "user namespaces and the package uidmap)"
}
make_links_relative
XDG_DATA_DIRS=$making/usr/share update-mime-database "$making/usr/share/mime" || exit
echo "$*" >"$making/$list"
rm -rf "$folder"
mv "$making" "$folder"
