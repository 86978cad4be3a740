#!/usr/bin/env python3
"""Turns the counts of tools/text/counts/ into the language models of text/tables/.

Usage: generateModels.py COUNTS_FOLDER OUTPUT_FOLDER

The output depends on the counts alone.
"""

import collections
import math
import sys

from languages import CJK, CODECS, LATIN, OTHER, RARITY
from printable import DIGITS, cost_digit, level_digits, literal

ALPHABET_SIZE = 40  # largest number of letters beyond ASCII
LETTER_SHARE = 1e-4  # share of a language's characters from which one counts as its letter
TYPOGRAPHIC = set("\u2010\u2011\u2012\u2013\u2014\u2018\u2019\u201a\u201c\u201d\u201e\u2022\u2026"
                  "\u20ac\u2122\u00a0\u00a9\u00ab\u00ae\u00b0\u00b4\u00b7\u00bb")
# The number of characters that share the probability of a class, in nats.
WITHIN = {"typographic": math.log(12), "odd": math.log(40), "foreign": math.log(60)}
ENGLISH_LETTER = 2.8  # nats of an ASCII letter in models that do not distinguish them
BACKOFF = 300  # weight, in counts, of a pair's expectation from its second half
TRIPLES = 4500  # of all languages together
TRIPLE_BACKOFF = 200  # weight, in counts, of a triple's expectation from its last pair
LEAST_CONTEXT = 30  # counts of a triple's first pair from which it tells something
LIKELY, UNLIKELY = 1, -2  # nats by which a chosen triple differs at least, as LetterCosts.cpp reads them
FIXED = [" ", "0", ".", "typographic", "odd", "foreign"]


def read_counts(folder, language):
    """The counted units of a language."""
    with open(f"{folder}/{language}.txt", encoding="utf-8") as f:
        rows = (line.rstrip("\n").rsplit("\t", 1) for line in f if line != "\n")
        return {unit: int(count) for unit, count in rows}


def encodable(c, codecs):
    """True when one of the encodings has the character."""
    for codec in codecs:
        try:
            return bool(c.encode(codec))
        except UnicodeEncodeError:
            pass
    return False


def alphabet(language, pairs):
    """The language's own characters beyond ASCII, in code point order."""
    frequency = collections.Counter()
    for (_, second), count in pairs.items():
        frequency[second] += count
    total = sum(frequency.values())
    limit = ALPHABET_SIZE * (1 if language in LATIN else 2)
    chosen = [c for c, n in frequency.most_common() if c > "\x7f" and n > LETTER_SHARE * total and
              c not in TYPOGRAPHIC and encodable(c, CODECS[language])]
    return sorted(chosen[:limit])


def symbol_of(c, known):
    """The symbol of a character in a model."""
    if c in known:
        return c
    if c < "\x80":
        return "a" if c.isalpha() else c
    if c in TYPOGRAPHIC:
        return "typographic"
    code = ord(c)
    odd = code < 0xC0 or code in (0xD7, 0xF7) or 0x2B0 <= code < 0x370 or code >= 0x2000
    return "odd" if odd else "foreign"


class AlphabetModel:
    """The symbols of a language and the probabilities of their pairs and triples."""

    def __init__(self, language, folder):
        counts = read_counts(folder, language)
        pairs = {unit: count for unit, count in counts.items() if len(unit) == 2}
        self.language = language
        self.letters = alphabet(language, pairs)
        self.latin = language in LATIN
        ascii_letters = [chr(c) for c in range(97, 123)] if self.latin else ["a"]
        self.symbols = FIXED + ascii_letters + self.letters
        known = set(self.symbols)
        self.pairs, self.triples = collections.Counter(), collections.Counter()
        self.first, self.second = collections.Counter(), collections.Counter()
        for unit, count in counts.items():
            symbols = tuple(symbol_of(c, known) for c in unit)
            (self.pairs if len(unit) == 2 else self.triples)[symbols] += count
        for (a, b), count in self.pairs.items():
            self.first[a] += count
            self.second[b] += count
        self.total = sum(self.second.values()) + 10 * len(self.symbols)

    def share(self, a, b):
        """The probability of b after a."""
        expected = (self.second[b] + 10) / self.total
        return (self.pairs[a, b] + BACKOFF * expected) / (self.first[a] + BACKOFF)

    def costs(self):
        """The matrix of the costs of pairs."""
        costs = ""
        for a in self.symbols:
            for b in self.symbols:
                nats = -math.log(self.share(a, b)) + WITHIN.get(b, 0)
                if b == "a" and not self.latin and a not in FIXED[:3] + ["a"]:
                    nats += ENGLISH_LETTER
                costs += cost_digit(nats)
        return costs

    def unusual_triples(self):
        """Yields how much each triple tells whose probability differs from the one that its last
        pair lets expect, the triple, and whether it is likely. A letter alone is no such triple."""
        blanks = FIXED[:3]
        for (a, b), count in self.pairs.items():
            if count < LEAST_CONTEXT or b in WITHIN or a in blanks and b in blanks:
                continue
            for c in self.symbols:
                beyond = b in self.letters or c in self.letters
                if not beyond or c in WITHIN or a == " " and c in blanks:
                    continue
                expected = self.share(b, c)
                share = (self.triples[a, b, c] + TRIPLE_BACKOFF * expected) / (count + TRIPLE_BACKOFF)
                nats = math.log(share / expected)
                if nats >= LIKELY or nats <= UNLIKELY:
                    yield count * (share * nats + expected - share), (a, b, c), nats > 0

    def digits(self, triples):
        """Triples as digits, in order."""
        places = {symbol: place for place, symbol in enumerate(self.symbols)}
        return "".join(DIGITS[place] for row in sorted([places[s] for s in t] for t in triples)
                       for place in row)


def choose_triples(models):
    """The triples of the languages that tell most, by language and whether they are likely."""
    found = [(weight, model.language, triple, likely) for model in models if model.latin
             for weight, triple, likely in model.unusual_triples()]
    chosen = collections.defaultdict(list)
    for _, language, triple, likely in sorted(found, reverse=True)[:TRIPLES]:
        chosen[language, likely].append(triple)
    return chosen


# The cells of the cost table of an East Asian language, in its main encoding: codec, lead bytes and
# trail bytes.
HIGH = range(0xA1, 0xFF)
CELLS = {
    "zh": ("gb2312", range(0xB0, 0xF8), list(HIGH)),
    "zt": ("big5hkscs", [*range(0xA4, 0xC7), *range(0x87, 0xA1), *range(0xFA, 0xFF)],
           list(range(0x40, 0x7F)) + list(HIGH)),
    "ja": ("euc_jp", range(0xA4, 0xF5), list(HIGH)),
    "ko": ("euc_kr", range(0xB0, 0xC9), list(HIGH)),
}
# The number of characters of each class outside the cost table, which share its remaining cost.
UNLISTED = [1, 1, 1, 83, 86, 12000, 8000, 60, 30, 500]
CLASSES = 10


def cjk_model(language, counts):
    """The costs of the cells, of a class's unlisted characters, and of a class after another."""
    from countTexts import char_class
    codec, leads, trails = CELLS[language]
    cells = [bytes([lead, trail]).decode(codec, "ignore") for lead in leads for trail in trails]
    total, unlisted = collections.Counter(), collections.Counter()
    listed = set(cells)
    steps = collections.Counter()
    for unit, count in counts.items():
        if unit[0] == "~" and len(unit) == 3:
            steps[int(unit[1]), int(unit[2])] += count
        else:
            total[char_class(unit)] += count
            if unit not in listed:
                unlisted[char_class(unit)] += count
    number = collections.Counter(char_class(c) for c in cells if len(c) == 1)
    costs = []
    for c in cells:
        if len(c) != 1:
            costs.append(99)
            continue
        kind = char_class(c)
        share = (counts.get(c, 0) + 0.3) / (total[kind] + 0.3 * number[kind] + 20)
        costs.append(-math.log(share))
    rest = ""
    for kind in range(CLASSES):
        share = (unlisted[kind] + 20) / (total[kind] + 0.3 * number[kind] + 40) / UNLISTED[kind]
        rest += cost_digit(-math.log(share))
    classes = ""
    for a in range(CLASSES):
        row = sum(steps[a, b] for b in range(CLASSES))
        for b in range(CLASSES):
            nats = -math.log((steps[a, b] + 20) / (row + 20 * CLASSES))
            if b == 1 and a > 2:
                nats += ENGLISH_LETTER
            classes += cost_digit(nats)
    return level_digits(costs), rest, classes


def escaped(letters):
    """Letters as a UTF-16 literal; marks and other scripts become escapes."""
    return "".join(c if c.isalpha() and c < "\u0300" or "\u0370" < c < "\u0530" else
                   f"\\u{ord(c):04X}" for c in letters)


HEAD = """// Generated by tools/text/generateModels.py, do not edit.
// clang-format off
#include "text/%s.h"

namespace orvel {

"""


def main():
    folder, output = sys.argv[1:]
    for name, group in {"LatinModels": LATIN, "ScriptModels": OTHER}.items():
        models = [AlphabetModel(language, folder) for language in group]
        triples = choose_triples(models)
        with open(f"{output}/{name}.cpp", "w", encoding="utf-8") as f:
            f.write(HEAD % "AlphabetModel")
            for model in models:
                likely, unlikely = (literal(model.digits(triples[model.language, is_likely]))
                                    for is_likely in (True, False))
                f.write(f"const AlphabetModel {model.language}Model{{\n"
                        f"    u\"{escaped(model.letters)}\",\n"
                        f"    {'true' if model.latin else 'false'},\n"
                        f"    {RARITY.get(model.language, 0)},\n"
                        f"{literal(model.costs())},\n{likely},\n{unlikely}}};\n\n")
            f.write("}  // namespace orvel\n")
    with open(f"{output}/CjkModels.cpp", "w", encoding="utf-8") as f:
        f.write(HEAD % "CjkModel")
        for language in CJK:
            costs, rest, classes = cjk_model(language, read_counts(folder, language))
            f.write(f"const CjkModel {language}Model{{\n{literal(costs)},\n"
                    f"{literal(rest)},\n{literal(classes)}}};\n\n")
        f.write("}  // namespace orvel\n")


if __name__ == "__main__":
    main()
