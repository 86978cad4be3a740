#!/bin/bash
# SPDX-License-Identifier: MPL-2.0

# Unpacks the libraries that a cross build needs: makeSysroot.sh FOLDER ARCHITECTURE PACKAGE...
#
# Does nothing when the folder already holds this list of packages. Runs no maintainer scripts and leaves the
# machine's own packages alone. Exit status 77: it cannot be done here, the last line says why.
set -uo pipefail
# shellcheck source=tools/roots/debian.sh
. "$(dirname "${BASH_SOURCE[0]}")/debian.sh"
folder=$(realpath -m "$1")
architecture=$2
shift 2

# The emulator looks for each path in the sysroot first: the folders left out here stay the machine's own.
unpack() { # FOLDER
  local hidden
  hidden=$(printf -- '--exclude=./%s ' boot dev home media mnt opt proc root run srv sys tmp var)
  # shellcheck disable=SC2086  # one word a folder
  tar --extract --directory "$1" --no-same-owner $hidden --exclude=./usr/share/{doc,man,locale}
}

# Absolute links would lead out of the sysroot, to the machine's own libraries.
make_links_relative() { # FOLDER
  find "$1" -type l -lname '/*' | while read -r link; do
    local parent
    parent=$(dirname "${link#"$1"}")
    # Resolved as text only: the link's target is relative to the sysroot, not to this file system.
    ln -sfn "$(realpath -ms --relative-to="$parent" "$(readlink "$link")")" "$link"
  done
}

fill() { # FOLDER PACKAGE...
  local into=$1
  shift
  find_mirror bookworm
  say "Unpacking $architecture packages into $folder, about 1 minute"
  download bookworm "$architecture" extract "$@" | unpack "$into" && make_links_relative "$into" &&
    XDG_DATA_DIRS=$into/usr/share update-mime-database "$into/usr/share/mime"
}

make_once "$folder" fill "$@"
