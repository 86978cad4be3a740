#!/bin/bash
# SPDX-License-Identifier: MPL-2.0

# Runs a command in the current folder, but with another root: inRoot.sh ROOT COMMAND...
#
# The mounts and processes that this takes end with the command.
set -uo pipefail
# shellcheck disable=SC2016
exec unshare --mount --propagation private --pid --fork --kill-child bash -c '
  root=$1
  shift
  mkdir -p "$root$PWD" && mount -t proc proc "$root/proc" && mount --rbind /dev "$root/dev" &&
    mount -t tmpfs tmpfs "$root/tmp" && mount --bind "$PWD" "$root$PWD" &&
    exec chroot "$root" env --chdir="$PWD" "$@"' inRoot "$(realpath "$1")" "${@:2}"
