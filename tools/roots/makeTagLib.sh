#!/bin/bash
# SPDX-License-Identifier: MPL-2.0

# Builds TagLib as installed, but with the thread sanitizer, from its Debian sources: makeTagLib.sh FOLDER
#
# FOLDER/lib then holds the library and FOLDER/songs the files of its own tests. Does nothing when it was made from
# this version. Leaves apt's sources of packages as they are. Exit status 77: it cannot be done here, the last line
# says why.
set -uo pipefail
# shellcheck source=tools/roots/debian.sh
. "$(dirname "${BASH_SOURCE[0]}")/debian.sh"
folder=$(realpath -m "$1")

download_sources() { # VERSION: unpacks them in the current folder
  local options=(-qq -o "Dir::Etc::SourceList=$PWD/sources.list" -o Dir::Etc::SourceParts=-
    -o "Dir::State::Lists=$PWD/lists" -o "Dir::Cache=$PWD/cache" -o APT::Sandbox::User=)
  mkdir -p lists/partial cache/archives/partial
  # shellcheck disable=SC2016
  apt-get indextargets --format 'deb-src $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' 'Origin: Debian' \
    'Component: main' | sort -u >sources.list
  apt-get "${options[@]}" update && apt-get "${options[@]}" source "taglib=$1" >&2
}

build() { # without debug messages, as Debian does
  cmake -G Ninja -S taglib-*/ -B build --log-level=WARNING -DBUILD_SHARED_LIBS=ON -DBUILD_BINDINGS=OFF \
    -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS="-O1 -g1 -DNDEBUG -w -fsanitize=thread -fvisibility=hidden" >&2 &&
    cmake --build build --target tag >&2
}

fill() { # FOLDER VERSION
  cd "$1" || return
  download_sources "$2" || skip "the sources of TagLib $2 cannot be downloaded (apt-get says why above)"
  build && mv build/taglib lib && mv taglib-*/tests/data songs && mkdir -p usr/share && return
  say "TagLib $2 cannot be built with the thread sanitizer"
  exit 1
}

# Debian 13 names the package without the version.
package=$(dpkg-query -S /usr/include/taglib/taglib.h | cut -d: -f1)
make_once "$folder" fill "$(dpkg-query -W -f='${source:Version}' "$package")"
