#!/usr/bin/python3
"""Writes an extended development set: tracks in the languages, encodings and shapes of languages.py.

Usage: makeTracks.py PACKAGES_FOLDER > SET

PACKAGES_FOLDER is the output of fetchPackages.sh. The set has the format that readTrackSet() in
bench/text reads; its notes name the shapes. The output depends on the packages alone.
"""

import random
import sys

import corpus
from countTexts import decomposed
from languages import SHELF

LOCALES = {"zh": "zh_CN", "zt": "zh_TW", "yue": "zh_HK", "no": "nb"}
CODECS = {"tis-620": "cp874", "mac-cyrillic": "mac_cyrillic", "big5-hkscs": "big5hkscs",
          "euc-kr": "cp949", "shift_jis": "cp932", "big5": "cp950",
          **{f"windows-{n}": f"cp{n}" for n in range(1250, 1259)}}
GENRES = ["Pop", "Rock", "Jazz", "Classical", "Folk", "Hip-Hop", "Soundtrack", "Electronic", "Other"]
ENGLISH = ["Love", "My Heart", "Tonight", "Forever Young", "Summer Night", "Dance With Me", "Baby",
           "The Road", "Golden Days", "Stars", "One More Time", "Let It Go"]
TAILS = [" (Live)", " (Remix)", " - Single", " feat. DJ Max", " (Radio Edit)", " [Bonus Track]",
         " (2004 Remaster)"]
PER_SHAPE = {"full": 24, "caps": 10, "english": 10}
UNCASED = ("ar", "fa", "he", "th", "zh", "zt", "yue", "ja", "ko")
ROMANIAN = {"iso-8859-16": str.maketrans("ŞşŢţ", "ȘșȚț")}
CEDILLA = str.maketrans("ȘșȚț", "ŞşŢţ")
SIGNS = ["{0}’s {1}", "Don’t {1}", "{0} – {1}", "{0} — {1}", "{0}…", "“{0}”", "‘{0}’", "Rock ’n’ {0}",
         "N.º {2} {0}", "n.º {2}", "{0} Nº {2}", "{0} n° {2}", "Nº{2}", "{2}ª {0}", "1.ª {0}", "{2}°",
         "{0} {2}°", "Only £{2}", "£{2} {0}", "§ {2}", "{0} § {2}", "{2} × {2}", "{0} × {1}",
         "{0} ÷ {1}", "© {0}", "{0} ©", "{0}®", "{0} ® {1}", "{0}™", "«{0}»", "« {0} »", "¿{0}?",
         "¡{0}!", "{0} · {1}", "½ {0}", "{0} ±{2}", "{2} µm", "¥€$", "€{2}", "{0} ¢{2}", "{0} ¹",
         "{0}²", "{0} • {1}", "{0}†", "¶ {0}", "¬ {0}", "{0} ¦ {1}", "{0}´s {1}", "´{0}`", "¾"]


def encoded(text, encoding):
    """The bytes of a text; None when the encoding lacks a character."""
    try:
        if encoding == "windows-1258":
            text = decomposed(text)
        return text.encode(CODECS.get(encoding, encoding))
    except UnicodeEncodeError:
        return None


def spelt(text, language, encoding):
    """A text with the letters that writers in this encoding use."""
    if language == "ro":
        return text.translate(ROMANIAN.get(encoding, CEDILLA))
    if language == "fa":
        return text.replace("ی", "ي").replace("\u200c", " ")
    return text


def shouted(text, language):
    """A text in capitals."""
    if language == "tr":
        text = text.replace("i", "İ").replace("ı", "I")
    if language == "el":
        text = text.translate(str.maketrans("άέήίόύώΐΰ", "αεηιουωϊϋ"))
    return text.upper()


class Language:
    """The texts of one language."""

    def __init__(self, packages, language):
        self.name = language
        cldr, dictionary, generator, self.encodings = SHELF[language]
        self.phrases = corpus.phrases(packages, cldr)
        self.words = corpus.words(packages, dictionary)
        self.people = corpus.people(packages, generator, 1500)
        self.messages = corpus.messages(LOCALES.get(language, language))
        if language == "yue":  # what only Hong Kong's characters can spell
            self.messages = [w for w in corpus.cantonese(packages) if not encoded(w, "big5")]
            self.words = [w for w in self.messages if encoded(w, "big5-hkscs")]

    def title(self, chance):
        """A title or the name of an album."""
        kind = chance.random()
        if kind < 0.4 and self.words:
            blank = "" if self.name == "yue" else " "
            text = blank.join(chance.choice(self.words) for _ in range(chance.choice([1, 2, 2, 3])))
        elif kind < 0.75 or not self.messages:
            text = chance.choice(self.phrases)
        else:
            text = chance.choice(self.messages)
        style = chance.random()
        if style < 0.4:
            return text[:1].upper() + text[1:]
        return " ".join(w[:1].upper() + w[1:] for w in text.split(" ")) if style < 0.7 else text

    def person(self, chance):
        """An artist."""
        if self.people:
            return chance.choice(self.people)
        names = self.words or [p for p in self.phrases if " " not in p]
        return " ".join(chance.choice(names).capitalize() for _ in range(2))

    def texts(self, chance, shape):
        """The five texts of a track."""
        title, album = self.title(chance), self.title(chance) if chance.random() < 0.8 else ""
        genre = chance.choice(GENRES) if chance.random() < 0.6 else ""
        composer = self.person(chance) if chance.random() < 0.3 else ""
        artist = self.person(chance)
        if shape == "english":
            genre = chance.choice(GENRES)
            mixture = chance.randrange(4)
            if mixture == 0:
                title += chance.choice(TAILS)
                album = chance.choice(ENGLISH)
            elif mixture == 1:
                title = f"{chance.choice(ENGLISH)} ({title})"
            elif mixture == 2:
                title, album = chance.choice(ENGLISH), chance.choice(ENGLISH)
            else:
                title = chance.choice(ENGLISH)
        texts = [title, artist, album, genre, composer]
        return [shouted(t, self.name) for t in texts] if shape == "caps" else texts

    def track(self, chance, shape, encoding):
        """A track's texts and their bytes, with a text beyond ASCII among them."""
        for _ in range(400):
            texts = [spelt(t, self.name, encoding) for t in self.texts(chance, shape)]
            if encoding == "iso-8859-16":  # but for quotes and the like the same as windows-1250
                texts[0] = f"„{texts[0]}”"
            data = [encoded(t, encoding) for t in texts]
            if None not in data and not all(t.isascii() for t in texts):
                return texts, data
        return None


def write(language, encoding, shape, texts, data, unicode=()):
    """Writes a line; `unicode` numbers the fields that claim to be UTF-8."""
    fields = [("u:" if i in unicode and d else "") + d.hex() for i, d in enumerate(data)]
    print("\t".join([language, encoding, shape] + texts + fields))


def common(language, chance):
    """The shapes that every language has."""
    for encoding in language.encodings + ["utf-8"]:
        for shape, count in PER_SHAPE.items():
            if shape == "caps" and language.name in UNCASED:
                continue
            if encoding == "utf-8":
                count //= 5
            for _ in range(count):
                track = language.track(chance, shape, encoding)
                if track is not None:
                    write(language.name, encoding, shape, *track)


def wrapped(language, chance):
    """UTF-16 without a mark, and UTF-8 that was taken for Latin-1 and encoded again."""
    for encoding, again in (("utf-16-le", 0), ("utf-16-be", 0), ("utf-8 twice", 1), ("utf-8 thrice", 2)):
        track = None
        while track is None:
            track = language.track(chance, "full", "utf-8" if again else encoding)
        texts, data = track
        for _ in range(again):
            data = [d.decode("latin-1").encode() for d in data]
        write(language.name, encoding, "wrapped", texts, data)


def mixed(language, others, chance):
    """Fields of different encodings in one track."""
    encoding = language.encodings[0]
    for recipe in ("utf-8 title", "utf-8 artist", "western artist", "other encoding"):
        track = None
        while track is None or all(t.isascii() for t in track[0][:1]):
            track = language.track(chance, "full", encoding)
        texts, data = track
        if recipe.startswith("utf-8"):
            place = 0 if recipe == "utf-8 title" else 1
            texts[place] = spelt(language.title(chance) if place == 0 else language.person(chance),
                                 language.name, encoding)
            data[place] = texts[place].encode()
        elif recipe == "western artist":
            while texts[1].isascii() or encoded(texts[1], "windows-1252") is None:
                texts[1] = chance.choice(others).person(chance)
            data[1] = encoded(texts[1], "windows-1252")
        else:
            if len(language.encodings) < 2:
                continue
            second = language.encodings[1]
            while texts[2].isascii() or encoded(texts[2], second) is None:
                texts[2] = spelt(language.title(chance), language.name, second)
            data[2] = encoded(texts[2], second)
        write(language.name, "mixed", f"mixed, {recipe}", texts, data)


def western(languages, chance):
    """Titles alone: with signs only, single words and names, single letters."""
    def alone(language, shape, text):
        data = encoded(text, "windows-1252")
        if data is not None and not text.isascii():
            write(language, "windows-1252", shape, [text] + [""] * 4, [data] + [b""] * 4)

    for pattern in SIGNS:
        for _ in range(12):
            language = chance.choice(languages)
            plain = [w.capitalize() for w in language.words if w.isascii() and len(w) > 2]
            alone("signs", "signs", pattern.format(chance.choice(plain), chance.choice(plain),
                                                   chance.randrange(1, 99)))
    for language in languages:
        beyond = [w for w in language.words if not w.isascii()]
        for word in beyond[:250]:
            alone(language.name, "word", word if chance.random() < 0.5 else word.capitalize())
        for name in [n for n in language.people if not n.isascii()][:100]:
            alone(language.name, "word", name)
    for letter in "ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖØÙÚÛÜÝÞßàáâãäåæçèéêëìíîïðñòóôõöøùúûüýþÿŒœ":
        alone("letter", "letter", letter)


def main():
    packages = sys.argv[1]
    chance = random.Random(1)
    print("\t".join(["lang", "encoding", "note", "title", "artist", "album", "genre", "composer",
                     "hex_title", "hex_artist", "hex_album", "hex_genre", "hex_composer"]))
    languages = [Language(packages, name) for name in SHELF]
    others = [l for l in languages if l.encodings[0] == "windows-1252" and l.people]
    others = [l for l in others if any(not n.isascii() for n in l.people)]
    for language in languages:
        common(language, chance)
        wrapped(language, chance)
        if language.encodings[0] != "windows-1252":
            for _ in range(3):
                mixed(language, others, chance)
    western([l for l in languages if l.encodings[0] == "windows-1252" and l.words], chance)


if __name__ == "__main__":
    main()
