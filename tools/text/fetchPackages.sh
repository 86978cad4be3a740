#!/bin/sh
# SPDX-License-Identifier: MPL-2.0

# Unpacks the Debian packages that countTexts.py and makeTracks.py take texts from: fetchPackages.sh FOLDER
# Nothing is installed.
set -e
[ $# -eq 1 ] || { echo "usage: fetchPackages.sh FOLDER" >&2; exit 2; }
mkdir -p "$1/packages"
cd "$1/packages"
dictionaries="af ar be bg br bs ca cs da de-de el en-gb es eu fr-classical gd gl he hr hu id is it ko lt lv nl no
  pl pt-br pt-pt ro ru sk sl sr sv th tr uk vi"
# shellcheck disable=SC2046,SC2086  # one word per package
apt-get download unicode-cldr-core libgweather-4-common rime-data-jyut6ping3 \
  $(printf 'hunspell-%s ' $dictionaries) myspell-et myspell-fa myspell-fo myspell-ga myspell-sq \
  $(printf 'fortunes-%s ' bg br cs de es ga it pl ru zh) \
  python3-fake-factory python3-unidecode python3-text-unidecode python3-dateutil python3-six
for package in *.deb; do
  dpkg-deb -x "$package" ..
done
