"""Short texts of one language, from translations in Debian packages and a development set."""

import gettext
import glob
import hashlib
import html
import json
import os
import re

from languages import LANGUAGES

LOCALE = "/usr/share/locale"
# Catalogues of names of languages, countries, places and people, the texts most similar to tags.
NAME_CATALOGUES = re.compile(r"^(iso_|iso-|libgweather|tzdata|libexif)")
LINES = 30000  # at most, of the prose of a language
NOISE = re.compile(r"<[^>]*>|%[-+ #0-9.$*']*(?:l|ll|z|h|j)?[a-zA-Z]|%\([^)]*\)[a-z]|\{[^}]*\}|"
                   r"\$\(?\w+\)?|\\[a-z]|https?:\S*|\S+@\S+|--?[a-z-]+=?")
FORTUNES = {"de": ["de/*"], "es": ["es/*"], "it": ["italia", "definizioni", "leggi", "luttazzi"],
            "pl": ["pl/*"], "ru": ["ru/*"], "cs": ["cs/*"], "bg": ["bg/*"], "pt": ["brasil"],
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


def prose(language):
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
        for path in glob.glob(f"/usr/share/games/fortunes/{pattern}"):
            if os.path.isfile(path) and not path.endswith(".dat"):
                with open(path, encoding="utf-8", errors="ignore") as f:
                    found = {line for text in f for line in lines_of(text)}
                lines.update(sorted(found, key=order)[:LINES // 3])
    return sorted(lines, key=order)[:LINES]


def names(language):
    """Names of places, languages and people."""
    lines = set()
    for locale in LANGUAGES[language][0]:
        for path in glob.glob(f"{LOCALE}/{locale}/LC_MESSAGES/*.mo"):
            if NAME_CATALOGUES.match(os.path.basename(path)):
                for text in catalogue(path):
                    lines.update(lines_of(text))
    lines = set(sorted(lines, key=order)[:LINES // 3])
    from faker import Faker
    for locale in LANGUAGES[language][1]:
        fake = Faker(locale)
        fake.seed(len(locale))
        lines.update(fake.name() for _ in range(3000))
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


def tracks(path):
    """The rows of a development set as lists of columns."""
    with open(path, encoding="utf-8") as f:
        return [line.rstrip("\n").split("\t") for line in f][1:]


def developed(language, rows):
    """The texts in one language of a development set."""
    return sorted({text for row in rows if row[0] in LANGUAGES[language][2]
                   for text in row[3:8] if text})
