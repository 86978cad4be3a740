#!/usr/bin/python3
"""Counts the pairs of letters and the characters of a language's texts into tools/text/counts/.

Usage: countTexts.py DEVELOPMENT_SET OUTPUT_FOLDER

Needs the translations of an installed Debian system and the packages named in corpus.py. The
repository keeps only the counts of these texts; generateModels.py turns them into the models.
"""

import collections
import os
import sys
import unicodedata

import corpus
from languages import CJK, LANGUAGES

TOTAL = 1000000  # counted units of a language, shared among its sources
SHARES = {"prose": 0.35, "names": 0.3, "developed": 0.35}
VIETNAMESE_MARKS = "\u0300\u0301\u0303\u0309\u0323"


def decomposed(text):
    """Vietnamese letters as in windows-1258: with separate tone marks where it lacks a letter."""
    out = ""
    for c in text:
        parts = unicodedata.normalize("NFD", c)
        try:
            c.encode("cp1258")
        except UnicodeEncodeError:
            tones = [p for p in parts if p in VIETNAMESE_MARKS]
            rest = "".join(p for p in parts if p not in VIETNAMESE_MARKS)
            c = unicodedata.normalize("NFC", rest) + "".join(tones)
        out += c
    return out


def symbol(c):
    """The symbol of a character: letters stand for themselves, other kinds share one each."""
    if c <= " " or c == "\x7f":
        return " "
    if c < "\x80":
        return c.lower() if c.isalpha() else "0" if c.isdigit() else "."
    return c.lower() if len(c.lower()) == 1 else c


def pairs(text):
    """The pairs of symbols of a text; its ends count as blanks."""
    symbols = " " + "".join(map(symbol, text)) + " "
    return [symbols[i:i + 2] for i in range(len(symbols) - 1)]


def char_class(c):
    """The class of a character in an East Asian text, numbered as CjkModel does."""
    code = ord(c)
    if code <= 0x20:
        return 0
    if code < 0x80:
        return 1 if c.isalpha() else 2
    if 0x3041 <= code <= 0x309E:
        return 3
    if 0x30A1 <= code <= 0x30FE:
        return 4
    if 0x4E00 <= code <= 0x9FFF or 0xF900 <= code <= 0xFAFF or code == 0x3005:
        return 5
    if 0xAC00 <= code <= 0xD7A3:
        return 6
    if 0xFF61 <= code <= 0xFF9F:
        return 7
    if 0x3000 <= code <= 0x3020 or 0xFF01 <= code <= 0xFF5E or 0x2010 <= code <= 0x2026:
        return 8
    return 9


def units(language, text):
    """The counted units: pairs of letters, or characters and pairs of classes (after a "~")."""
    if language == "vi":
        text = decomposed(text)
    if language == "ro":  # the eight-bit encodings have the letters with cedilla
        text = text.translate(str.maketrans("ȘșȚț", "ŞşŢţ"))
    if language not in CJK:
        return pairs(text)
    classes = [0] + [char_class(c) for c in text] + [0]
    return ([c for c in text if c > "\x7f"] +
            [f"~{a}{b}" for a, b in zip(classes, classes[1:])])


def spans(text):
    """All runs of words of a line, and of characters for scripts without blanks."""
    words = text.split(" ")
    found = {" ".join(words[i:j]) for i in range(len(words)) for j in range(i + 1, len(words) + 1)}
    if len(text) < 41 and any(c > "\u2e80" or "\u0e00" < c < "\u0e80" for c in text):
        found |= {text[i:j] for i in range(len(text)) for j in range(i + 1, len(text) + 1)}
    return found


class Texts:
    """The texts of all languages by source, and their counts."""

    def __init__(self):
        self.lines = {(language, source): getattr(corpus, source)(language)
                      for language in LANGUAGES for source in ("prose", "names")}

    def counts(self, language, rows, unseen=frozenset()):
        """Counts a language. Skips every line that holds a text of `unseen`."""
        total = collections.Counter()
        sources = {source: self.lines[language, source] for source in ("prose", "names")}
        sources["developed"] = corpus.developed(language, rows)
        weight = sum(SHARES[source] for source, lines in sources.items() if lines)
        for source, lines in sources.items():
            found = collections.Counter()
            for line in lines:
                if not unseen or not unseen & spans(line):
                    found.update(units(language, line))
            scale = TOTAL * SHARES[source] / weight / max(1, sum(found.values()))
            for unit, count in found.items():
                total[unit] += count * scale
        return {unit: round(count) for unit, count in total.items() if round(count)}


def write(folder, language, counts):
    """Writes one line per unit and count, in code point order."""
    os.makedirs(folder, exist_ok=True)
    with open(f"{folder}/{language}.txt", "w", encoding="utf-8") as f:
        for unit, count in sorted(counts.items()):
            f.write(f"{unit}\t{count}\n")


def main():
    rows = corpus.tracks(sys.argv[1])
    texts = Texts()
    for language in LANGUAGES:
        write(sys.argv[2], language, texts.counts(language, rows))


if __name__ == "__main__":
    main()
