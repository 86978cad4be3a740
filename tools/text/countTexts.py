#!/usr/bin/python3
"""Counts the pairs and triples of letters and the characters of a language's texts.

Usage: countTexts.py PACKAGES_FOLDER OUTPUT_FOLDER DEVELOPMENT_SET...

PACKAGES_FOLDER is the output of fetchPackages.sh; translations are also those of the installed
Debian system. The repository keeps only the counts of these texts, in tools/text/counts/;
generateModels.py turns them into the models.
"""

import collections
import os
import sys
import unicodedata

import corpus
from languages import CJK, LANGUAGES, LATIN

TOTAL = 1000000  # counted pairs or characters of a language, shared among its sources
LEAST_TRIPLE = 5  # a rarer triple, of as many, tells too little
SHARES = {"prose": 0.3, "names": 0.2, "vocabulary": 0.25, "developed": 0.25}
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


def triples(text):
    """The triples of symbols whose last pair is not ASCII; a text begins with two blanks."""
    symbols = "  " + "".join(map(symbol, text)) + " "
    return [symbols[i:i + 3] for i in range(len(symbols) - 2) if not symbols[i + 1:i + 3].isascii()]


def is_triple(unit):
    """True for a triple of symbols; pairs of classes have three characters, too."""
    return len(unit) == 3 and unit[0] != "~"


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
    if 0x3400 <= code <= 0x9FFF or 0x20000 <= code <= 0x2FFFF or 0xF900 <= code <= 0xFAFF or code == 0x3005:
        return 5
    if 0xAC00 <= code <= 0xD7A3:
        return 6
    if 0xFF61 <= code <= 0xFF9F:
        return 7
    if 0x3000 <= code <= 0x3020 or 0xFF01 <= code <= 0xFF5E or 0x2010 <= code <= 0x2026:
        return 8
    return 9


def units(language, text):
    """The counted units: pairs of letters and in Latin script triples, or characters and pairs of
    classes (after a "~")."""
    if language == "vi":
        text = decomposed(text)
    if language == "ro":  # the eight-bit encodings have the letters with cedilla
        text = text.translate(str.maketrans("ȘșȚț", "ŞşŢţ"))
    if language not in CJK:
        return pairs(text) + (triples(text) if language in LATIN else [])
    classes = [0] + [char_class(c) for c in text] + [0]
    return ([c for c in text if c > "\x7f"] +
            [f"~{a}{b}" for a, b in zip(classes, classes[1:])])


class Unseen:
    """Texts that no counted line may contain as a run of its words, or of its characters in
    scripts without blanks; a dictionary must not contain their words either."""

    def __init__(self, texts):
        self.starts, self.runs, self.words = collections.defaultdict(list), set(), set()
        for text in texts:
            words = text.split(" ")
            self.starts[words[0]].append(words)
            self.words.update(w.lower() for w in words if not w.isascii())
            if is_unspaced(text):
                self.runs.add(text)
        self.lengths = {len(run) for run in self.runs}

    def inside(self, line):
        """True when the line contains one of the texts."""
        words = line.split(" ")
        if any(words[i:i + len(run)] == run
               for i, word in enumerate(words) for run in self.starts.get(word, ())):
            return True
        return is_unspaced(line) and any(line[i:i + size] in self.runs for size in self.lengths
                                         for i in range(len(line) - size + 1))

    def known(self, line):
        """True for a line of a dictionary that has a word of one of the texts."""
        return self.inside(line) or any(w.lower() in self.words for w in line.split(" "))


def is_unspaced(text):
    """True for a text in a script without blanks between words."""
    return any(c > "\u2e80" or "\u0e00" < c < "\u0e80" for c in text)


def counted(language, lines):
    """Counts the units of lines."""
    found = collections.Counter()
    for line in lines:
        found.update(units(language, line))
    return found


class Texts:
    """The texts of one language by source, and their counts."""

    def __init__(self, language, packages):
        self.language = language
        self.lines = {source: getattr(corpus, source)(language, packages)
                      for source in ("prose", "names", "vocabulary")}
        self.all = {source: counted(language, lines) for source, lines in self.lines.items()}

    def counts(self, rows, unseen=()):
        """Counts the language, without the lines that contain a text of `unseen`."""
        left_out = Unseen(unseen)
        found = {"developed": counted(self.language, corpus.developed(self.language, rows))}
        for source, lines in self.lines.items():
            is_known = left_out.known if source == "vocabulary" else left_out.inside
            found[source] = self.all[source] - counted(self.language, filter(is_known, lines))
        weight = sum(SHARES[source] for source, counts in found.items() if counts)
        total = collections.Counter()
        for source, counts in found.items():
            size = sum(count for unit, count in counts.items() if not is_triple(unit))
            scale = TOTAL * SHARES[source] / weight / max(1, size)
            for unit, count in counts.items():
                total[unit] += count * scale
        return {unit: round(count) for unit, count in total.items()
                if round(count) >= (LEAST_TRIPLE if is_triple(unit) else 1)}


def write(folder, language, counts):
    """Writes one line per unit and count, in code point order."""
    os.makedirs(folder, exist_ok=True)
    with open(f"{folder}/{language}.txt", "w", encoding="utf-8") as f:
        for unit, count in sorted(counts.items()):
            f.write(f"{unit}\t{count}\n")


def main():
    packages, folder = sys.argv[1:3]
    rows = corpus.tracks(*sys.argv[3:])
    for language in LANGUAGES:
        write(folder, language, Texts(language, packages).counts(rows))


if __name__ == "__main__":
    main()
