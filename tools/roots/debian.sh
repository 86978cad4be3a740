# SPDX-License-Identifier: MPL-2.0
# shellcheck shell=bash

# For the scripts beside it, which unpack Debian packages of another release or architecture below build/.

say() { printf '%s\n' "$*" >&2; }

skip() {
  say "Skipped: $*"
  exit 77
}

# Sets `sources` to those of RELEASE at the Debian mirror that apt is configured with. The security suite is left
# out: its packages of foreign architectures are often late, and libraries of different versions do not install
# together.
find_mirror() { # RELEASE
  local mirror suite
  command -v mmdebstrap >/dev/null || skip "mmdebstrap is not installed"
  # shellcheck disable=SC2016
  mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Origin: Debian' \
    'Component: main' | grep -v -e -security | head -n 1)
  [ -n "$mirror" ] || skip "apt knows no mirror of Debian (run apt-get update, or add one to its sources)"
  sources=$(for suite in "$1" "$1-updates"; do echo "deb $mirror $suite main"; done)
}

# Writes a tar archive of the packages from `sources`, unpacked as mmdebstrap's VARIANT says.
download() { # RELEASE ARCHITECTURE VARIANT PACKAGE...
  local release=$1 architecture=$2 variant=$3 options include
  shift 3
  options=$(mktemp) || return
  # Reach the mirror as apt does on this machine.
  apt-config dump | grep -E '^Acquire::(https?|Retries|Check)' >"$options"
  include=$(IFS=, && echo "$*")
  echo "$sources" | mmdebstrap --variant="$variant" --architectures="$architecture" --format=tar \
    --aptopt="$options" --include="$include" "$release" - -
  local status=$?
  rm -f "$options"
  return $status
}

# Lets FILL make a folder in the place of FOLDER, unless that was already made from this list of packages.
make_once() { # FOLDER FILL PACKAGE...
  local folder=$1 fill=$2 making=$1.making list=usr/share/orvel-packages
  shift 2
  [ "$(cat "$folder/$list" 2>/dev/null)" != "$*" ] || return 0
  rm -rf "$making"
  mkdir -p "$making" || return
  "$fill" "$making" "$@" || {
    rm -rf "$making"
    skip "the packages cannot be downloaded or unpacked (mmdebstrap says why above; it needs root, or user" \
      "namespaces and the package uidmap)"
  }
  echo "$*" >"$making/$list"
  rm -rf "$folder"
  mv "$making" "$folder"
}
