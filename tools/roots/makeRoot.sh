#!/bin/bash
# SPDX-License-Identifier: MPL-2.0

# Installs another release of Debian, with packages, in a folder for inRoot.sh: makeRoot.sh FOLDER RELEASE PACKAGE...
#
# Does nothing when the folder already holds this list of packages. Exit status 77: it cannot be done here, the last
# line says why.
set -uo pipefail
# shellcheck source=tools/roots/debian.sh
. "$(dirname "${BASH_SOURCE[0]}")/debian.sh"
folder=$(realpath -m "$1")
release=$2
shift 2

fill() { # FOLDER PACKAGE...
  local into=$1
  shift
  find_mirror "$release"
  say "Installing Debian $release in $folder, about 1 minute"
  download "$release" "$(dpkg --print-architecture)" apt "$@" | tar --extract --directory "$into" --numeric-owner
}

[ "$(id -u)" -eq 0 ] || skip "only root may install and enter another Debian"
make_once "$folder" fill "$@"
