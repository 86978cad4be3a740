# SPDX-License-Identifier: MPL-2.0
# shellcheck shell=bash
# To be sourced by `dev`: the steps that make the Debian packages of the tracked files, judge them, and test them on a
# fresh machine. The results are in build/packages; the tree stays as it is.

packages_folder=$PWD/build/packages
first_tree=$packages_folder/first/orvel
other_tree=$packages_folder/second/at/a/longer/path/orvel

copy_tree() { # FOLDER
  rm -rf "$1"
  mkdir -p "$1" || return
  git -c safe.directory="$PWD" ls-files -z | tar --create --null --files-from=- | tar --extract --directory "$1"
}

# Leaves the packages beside the tree. Running the tests is another verb's business.
build_tree() { # FOLDER [OPTION...]: options go to dpkg-buildpackage
  local tree=$1 log=$packages_folder/build.log
  shift
  (cd "$tree" && DEB_BUILD_OPTIONS="nocheck parallel=$jobs" DEB_BUILD_PROFILES=nocheck \
    nice dpkg-buildpackage --no-sign "$@") >"$log" 2>&1 && return
  tail -n 30 "$log" >&2
  say "The packages could not be built; $log has the whole output."
  return 1
}

# The compiler's cache, where there is one, serves this build alone. It is one of its own: debhelper hides the user's,
# which may make paths relative.
package_build() {
  rm -rf "$packages_folder/first"
  copy_tree "$first_tree" &&
    PATH=/usr/lib/ccache:$PATH CCACHE_DIR=$packages_folder/ccache build_tree "$first_tree"
}

# The same source must give the same bytes anywhere.
package_reproduce() {
  local package other differing=0
  rm -rf "$packages_folder/second"
  mkdir -p "$(dirname "$other_tree")" || return
  dpkg-source --extract "$(dirname "$first_tree")"/orvel_*.dsc "$other_tree" >"$packages_folder/build.log" 2>&1 &&
    CCACHE_DISABLE=1 build_tree "$other_tree" --build=binary || return
  for package in "$(dirname "$first_tree")"/*.deb; do
    other=$(dirname "$other_tree")/${package##*/}
    cmp --silent "$package" "$other" && continue
    say "${package##*/} depends on the path of its build: 'diffoscope $package $other' shows where."
    differing=1
  done
  return $differing
}

package_lintian() { lintian --allow-root --fail-on error,warning "$(dirname "$first_tree")"/orvel_*.changes >&2; }

package_collect() {
  find "$packages_folder" -maxdepth 1 -type f -name '*orvel*_*' -delete
  mv "$(dirname "$first_tree")"/*orvel*_* "$packages_folder" && rm -rf "$packages_folder"/{first,second}
}

# The container's own filter would cost the readers Landlock.
in_container() { # [OPTION...]: runs systemd-nspawn on the fresh machine
  timeout -k 10 600 systemd-nspawn --quiet --directory="$packages_folder/machine" --register=no --keep-unit \
    --system-call-filter='landlock_create_ruleset landlock_add_rule landlock_restrict_self' \
    --resolv-conf=copy-host --bind="$packages_folder/archives:/var/cache/apt/archives" \
    --bind-ro="$packages_folder:/packages" --setenv=DEBIAN_FRONTEND=noninteractive "$@" </dev/null
}

# A fresh Debian 12 with systemd, on which nothing of the project and of its dependencies was ever installed.
package_machine() {
  local root=$PWD/build/package-root machine=$packages_folder/machine log=$packages_folder/machine.log
  [ "$(id -u)" -eq 0 ] || skip "the packages are built; testing them on a fresh machine needs root"
  # shellcheck disable=SC2046  # one word per package
  tools/roots/makeRoot.sh "$root" bookworm $(packages machine) || return
  rm -rf "$machine"
  mkdir -p "$packages_folder/archives/partial" && cp -a "$root" "$machine" || return
  in_container --pipe true 2>"$log" || {
    cat "$log" >&2
    skip "systemd-nspawn cannot start a container here; it says why above"
  }
}

# Without recommended packages: the tests then show that the required ones suffice.
package_install() {
  local log=$packages_folder/install.log
  # shellcheck disable=SC2016
  in_container --pipe sh -c 'apt-get -qq update && apt-get -y -o Dpkg::Use-Pty=0 --no-install-recommends install \
    $(ls /packages/*.deb | grep -v dbgsym)' >"$log" 2>&1 && return
  tail -n 30 "$log" >&2
  say "The packages could not be installed; $log has the whole output."
  return 1
}

# Runs debian/tests under a booted systemd, which ends with their status.
package_test() {
  local machine=$packages_folder/machine log=$packages_folder/tests.log status
  copy_tree "$machine/source" || return
  cat >"$machine/etc/systemd/system/package-tests.service" <<'TEXT'
[Service]
Environment=DEBIAN_FRONTEND=noninteractive
ExecStart=autopkgtest --no-built-binaries /source -- null
ExecStopPost=systemctl exit $EXIT_STATUS
StandardOutput=file:/package-tests.log
StandardError=inherit
TEXT
  in_container --boot --console=pipe systemd.wants=package-tests.service >/dev/null 2>&1
  status=$?
  cp "$machine/package-tests.log" "$log" || return
  sed -n '/^autopkgtest .* summary$/,$p' "$log" >&2
  if [ $status -eq 0 ]; then
    rm -rf "$machine"
    return
  fi
  tail -n 40 "$log" >&2
  say "The tests of the packages failed; $log has the whole output."
  return 1
}

package() { # [--quick]
  local steps=(build reproduce lintian collect machine install test)
  case ${1:-} in
    '') ;;
    --quick) steps=("${steps[@]/reproduce/}") ;;
    *)
      help >&2
      return 2
      ;;
  esac
  mkdir -p "$packages_folder"
  # shellcheck disable=SC2048,SC2086 # without the empty word
  run_steps package ${steps[*]} && ls "$packages_folder"/*.deb
}
