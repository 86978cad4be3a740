"""Short texts of one language, from Debian packages and development sets.

The packages of fetchPackages.sh lie unpacked in a folder; translations are also those of the
installed system.
"""

import functools
import gettext
import glob
import hashlib
import html
import json
import os
import re
import sys
import unicodedata
import xml.etree.ElementTree

from languages import LANGUAGES, SHELF

LOCALE = "/usr/share/locale"
# Catalogues of names of languages, countries, places and people, the texts most similar to tags.
NAME_CATALOGUES = re.compile(r"^(iso_|iso-|libgweather|tzdata|libexif)")
LINES = 30000  # at most, of the prose of a language
LONGEST = 36  # characters of a text of the extended set
WORDS = 4000  # of one dictionary
NOISE = re.compile(r"<[^>]*>|%[-+ #0-9.$*']*(?:l|ll|z|h|j)?[a-zA-Z]|%\([^)]*\)[a-z]|\{[^}]*\}|"
                   r"\$\(?\w+\)?|\\[a-z]|https?:\S*|\S+@\S+|--?[a-z-]+=?")
FORTUNES = {"de": ["de/*"], "es": ["es/*"], "it": ["italia", "definizioni", "leggi", "luttazzi"],
            "pl": ["pl/*"], "ru": ["ru/*"], "cs": ["cs/*"], "bg": ["bg/*"], "pt": ["brasil"], "ga": ["ga/proverbs.u8"],
            "zh": ["chinese.u8", "tang300.u8", "song100.u8"]}


def catalogue(path, original=False):
    """Yields the texts of a .mo file that differ from the original, or the originals of these."""
    try:
        with open(path, "rb") as f:
            entries = gettext.GNUTranslations(f)._catalog
    except (OSError, UnicodeDecodeError, ValueError, LookupError, IndexError):
        return
    for key, text in entries.items():
        key = key[0] if isinstance(key, tuple) else key
        if key and text and text != key:
            yield key if original else text


def lines_of(text):
    """Yields title-like lines: no markup, at most 40 characters, cut at a word."""
    for line in re.split(r"[\n\t]+", html.unescape(text)):
        line = re.sub(r"[_&](?=\w)", "", NOISE.sub("", line))
        line = re.sub(r"\s+", " ", line).strip()
        while len(line) > 40 and " " in line:
            line = line[:line.rindex(" ")]
        if len(line) > 1:
            yield line[:40]


def order(text):
    """A sort key for a fixed pseudo-random order that is independent of the source."""
    return hashlib.md5(text.encode()).digest()


def sampled(texts, count):
    """A fixed pseudo-random choice."""
    return sorted(set(texts), key=order)[:count]


def usable(text):
    """True for a text that could stand in a tag."""
    return 1 < len(text) <= LONGEST and text.isprintable() and not re.search(r"[{}<>_|\d]", text)


@functools.cache
def phrases(packages, name):
    """Names and descriptions of CLDR: countries, languages, regions, cities, and of pictures."""
    found = set()
    for part in ("main", "annotations", "subdivisions"):
        path = f"{packages}/usr/share/unicode/cldr/common/{part}/{name}.xml"
        if not os.path.exists(path):
            continue
        for node in xml.etree.ElementTree.parse(path).iter():
            if node.tag in ("annotation", "territory", "language", "exemplarCity", "subdivision"):
                for text in (node.text or "").split("|"):
                    found.add(unicodedata.normalize("NFC", text.strip()))
    return sampled(filter(usable, found), WORDS)


@functools.cache
def words(packages, name):
    """Words of a dictionary."""
    path = f"{packages}/usr/share/hunspell/{name}"
    if name is None or not os.path.exists(path + ".dic"):
        return []
    with open(path + ".aff", "rb") as f:
        encoding = re.search(rb"^(?:\xef\xbb\xbf)?SET\s+(\S+)", f.read(), re.MULTILINE)
    codec = encoding.group(1).decode().replace("microsoft-", "") if encoding else "latin-1"
    with open(path + ".dic", encoding=codec, errors="ignore") as f:
        lines = (re.split(r"[/\t]", line.strip())[0] for line in f)
        found = (unicodedata.normalize("NFC", word) for word in lines)
        return sampled((w for w in found if usable(w) and w.replace("'", "").isalpha()), WORDS)


def people(packages, locale, count):
    """Generated names of people, without titles."""
    if locale is None:
        return []
    sys.path.append(f"{packages}/usr/lib/python3/dist-packages")
    from faker import Faker
    fake = Faker(locale)
    fake.seed_instance(len(locale))
    family_first = locale[:2] in ("zh", "ja", "ko")
    pairs = ((fake.first_name(), fake.last_name()) for _ in range(count))
    return sorted({last + first if family_first else f"{first} {last}" for first, last in pairs})


def cantonese(packages):
    """Words of spoken Cantonese."""
    with open(f"{packages}/usr/share/rime-data/jyut6ping3.words.dict.yaml", encoding="utf-8") as f:
        found = (line.split("\t")[0].strip() for line in f if "\t" in line)
        return sampled((w for w in found if 1 < len(w) < 9 and not w.isascii()), 10 * WORDS)


def messages(locale):
    """Lines of programs' messages, at most 2000."""
    found = set()
    for path in sorted(glob.glob(f"{LOCALE}/{locale}/LC_MESSAGES/*.mo")):
        for text in catalogue(path):
            found.update(line for line in lines_of(text) if usable(line))
    return sampled(found, WORDS // 2)


def vocabulary(language, packages):
    """Words of dictionaries and phrases of CLDR in the languages of a model."""
    found = set()
    for name in LANGUAGES[language][2]:
        if name in SHELF:
            found.update(words(packages, SHELF[name][1]), phrases(packages, SHELF[name][0]))
        if name == "yue":
            found.update(cantonese(packages))
    return sorted(found)


def prose(language, packages):
    """Lines of programs' messages and of fortune cookies."""
    lines = set()
    for locale in LANGUAGES[language][0]:
        found = set()
        for path in glob.glob(f"{LOCALE}/{locale}/LC_MESSAGES/*.mo"):
            if not NAME_CATALOGUES.match(os.path.basename(path)):
                for text in catalogue(path):
                    found.update(lines_of(text))
        lines.update(sorted(found, key=order)[:LINES])
    if language == "en":  # the programs' own messages
        for path in glob.glob(f"{LOCALE}/de/LC_MESSAGES/*.mo"):
            for text in catalogue(path, original=True):
                lines.update(lines_of(text))
    for pattern in FORTUNES.get(language, []):
        for path in glob.glob(f"{packages}/usr/share/games/fortunes/{pattern}"):
            if os.path.isfile(path) and not path.endswith(".dat"):
                with open(path, encoding="utf-8", errors="ignore") as f:
                    found = {line for text in f for line in lines_of(text)}
                lines.update(sorted(found, key=order)[:LINES // 3])
    return sorted(lines, key=order)[:LINES]


def names(language, packages):
    """Names of places, languages and people."""
    lines = set()
    for locale in LANGUAGES[language][0]:
        for path in (glob.glob(f"{LOCALE}/{locale}/LC_MESSAGES/*.mo") +
                     glob.glob(f"{packages}{LOCALE}/{locale}/LC_MESSAGES/*.mo")):
            if NAME_CATALOGUES.match(os.path.basename(path)):
                for text in catalogue(path):
                    lines.update(lines_of(text))
    lines = set(sorted(lines, key=order)[:LINES // 3])
    for locale in LANGUAGES[language][1]:
        lines.update(people(packages, locale, 3000))
    if language == "xx":
        lines.update(subdivisions())
    return sorted(lines)


def subdivisions():
    """Names of countries' regions that windows-1252 can hold."""
    with open("/usr/share/iso-codes/json/iso_3166-2.json", encoding="utf-8") as f:
        entries = json.load(f)["3166-2"]
    for entry in entries:
        try:
            if len(entry["name"].encode("cp1252")) <= 40:
                yield entry["name"]
        except UnicodeEncodeError:
            pass


def tracks(*paths):
    """The rows of development sets as lists of columns."""
    rows = []
    for path in paths:
        with open(path, encoding="utf-8") as f:
            rows += [line.rstrip("\n").split("\t") for line in f][1:]
    return rows


def developed(language, rows):
    """The texts in one language of a development set."""
    return sorted({text for row in rows if row[0] in LANGUAGES[language][2]
                   for text in row[3:8] if text})
