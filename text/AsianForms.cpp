#include "text/AsianForms.h"

#include <algorithm>
#include <span>

#include "base/Utf8.h"
#include "text/PinyinTable.h"
#include "text/PinyinWords.h"

namespace orvel {

namespace {

constexpr bool within(char32_t c, char32_t low, char32_t high) {
  return c >= low && c <= high;
}

bool isHan(char32_t c) {
  return within(c, 0x4E00, 0x9FFF) || within(c, 0x3400, 0x4DBF) || within(c, 0xF900, 0xFAFF) ||
         within(c, 0x20000, 0x3FFFD) || within(c, 0x3005, 0x3007);
}

/// Letters only, because Chinese texts use the middle dot and the length mark too.
bool isKana(char32_t c) {
  return within(c, 0x3041, 0x3096) || within(c, 0x309D, 0x309F) || within(c, 0x30A1, 0x30FA) ||
         within(c, 0x30FD, 0x30FF) || within(c, 0x31F0, 0x31FF) || within(c, 0xFF66, 0xFF6F) ||
         within(c, 0xFF71, 0xFF9D);
}

bool isHangul(char32_t c) {
  return within(c, 0xAC00, 0xD7A3) || within(c, 0x1100, 0x11FF) || within(c, 0x3131, 0x318E) ||
         within(c, 0xA960, 0xA97C) || within(c, 0xD7B0, 0xD7FB) || within(c, 0xFFA1, 0xFFDC);
}

bool isBopomofo(char32_t c) {
  return within(c, 0x3105, 0x312F) || within(c, 0x31A0, 0x31BF);
}

bool isBlank(char32_t c) {
  return c <= 0x20 || c == 0xA0 || within(c, 0x2000, 0x200A) || c == 0x3000;
}

bool isLatinLetter(char32_t c) {
  return within(c, 'a', 'z') || (within(c, 0xC0, 0x24F) && c != 0xD7 && c != 0xF7);
}

/// Quotes, brackets and marks that are ignored when people look a text up by its first letter.
bool isOpening(char32_t c) {
  return std::u32string_view(U"\"'([{<.-~*#_/«»‹›・〜･").find(c) != std::u32string_view::npos ||
         within(c, 0x2010, 0x2027) || within(c, 0x3001, 0x3003) || within(c, 0x3008, 0x3011) ||
         within(c, 0x3014, 0x301F) || within(c, 0xFE30, 0xFE4F) || within(c, 0xFF61, 0xFF65);
}

/// Punctuation that a blank follows in Latin script.
bool isClosing(char32_t c) {
  return std::u32string_view(U".,:;?!)]}。、").find(c) != std::u32string_view::npos;
}

constexpr char32_t kVoicedMark = 0x3099, kSemiVoicedMark = 0x309A;

/// Half-width katakana U+FF66..U+FF9F as hiragana and combining marks.
constexpr std::u32string_view kHalfWidthKana =
    U"をぁぃぅぇぉゃゅょっーあいうえおかきくけこさしすせそたちつてとなにぬねのはひふへほまみむめも"
    U"やゆよらりるれろわん\u3099\u309A";

/// Makes letters and blanks half-width, letters lower case, and katakana hiragana.
char32_t fold(char32_t c) {
  if (within(c, 0xFF01, 0xFF5E)) c -= 0xFEE0;
  if (within(c, 'A', 'Z')) return c + 0x20;
  if (isBlank(c)) return ' ';
  if (within(c, 0x30A1, 0x30F6) || within(c, 0x30FD, 0x30FE)) return c - 0x60;
  if (within(c, 0xFF66, 0xFF9F)) return kHalfWidthKana[c - 0xFF66];
  return c;
}

/// Joins a kana with a voiced or semi-voiced mark; returns 0 when they form no character.
char32_t voiced(char32_t kana, char32_t mark) {
  const bool haRow = within(kana, U'は', U'ほ') && (kana - U'は') % 3 == 0;
  if (mark == kSemiVoicedMark) return haRow ? kana + 2 : 0;
  const bool plain = haRow || (within(kana, U'か', U'ち') && (kana - U'か') % 2 == 0) ||
                     kana == U'つ' || kana == U'て' || kana == U'と' || kana == U'ゝ';
  if (kana == U'う') return U'ゔ';
  return plain ? kana + 1 : 0;
}

/// Joins a leading consonant and a vowel, or a syllable and a closing consonant, to a Hangul
/// syllable (the Unicode standard, chapter 3.12); returns 0 when they form none.
char32_t joinedHangul(char32_t first, char32_t second) {
  constexpr char32_t kLeads = 0x1100, kVowels = 0x1161, kTails = 0x11A7, kSyllables = 0xAC00;
  if (within(first, kLeads, kLeads + 18) && within(second, kVowels, kVowels + 20))
    return kSyllables + ((first - kLeads) * 21 + (second - kVowels)) * 28;
  const bool open = within(first, kSyllables, 0xD7A3) && (first - kSyllables) % 28 == 0;
  return open && within(second, kTails + 1, kTails + 27) ? first + (second - kTails) : 0;
}

/// Folds the characters of a text and composes kana and Hangul that come in parts.
std::u32string folded(std::string_view text) {
  std::u32string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const utf8::Character character = utf8::take(text);
    if (!character.valid || character.code == 0) continue;
    const char32_t c = fold(character.code);
    char32_t joined = 0;
    if (!out.empty()) {
      const bool mark = c == kVoicedMark || c == kSemiVoicedMark;
      joined = mark ? voiced(out.back(), c) : joinedHangul(out.back(), c);
    }
    if (joined != 0) {
      out.back() = joined;
    } else {
      out += c;
    }
  }
  return out;
}

enum class Language { None, Chinese, Korean, Japanese };

/// Judges a text's language by its script. Later enumerators outweigh earlier ones.
Language languageOf(std::string_view text) {
  Language language = Language::None;
  while (!text.empty()) {
    const char32_t c = utf8::take(text).code;
    if (c < 0x1100) continue;
    if (isKana(c)) return Language::Japanese;
    if (isHangul(c)) language = Language::Korean;
    if (isHan(c) || isBopomofo(c)) language = std::max(language, Language::Chinese);
  }
  return language;
}

/// The longest of `words` at the start of `text`, or null.
const PinyinWord* wordAt(std::span<const PinyinWord> words, std::u32string_view text) {
  const auto byFirst = [](const PinyinWord& entry, char32_t c) { return entry.word[0] < c; };
  const PinyinWord* longest = nullptr;
  for (auto it = std::lower_bound(words.begin(), words.end(), text[0], byFirst);
       it != words.end() && it->word[0] == text[0]; ++it) {
    const bool whole = it->word[1] == 0 || (text.size() > 1 && text[1] == it->word[1]);
    if (whole) longest = &*it;  // words sort after their own prefixes
  }
  return longest;
}

struct Reading {
  std::string_view text;  ///< empty when the character is kept
  std::size_t characters = 1;
};

/// The Mandarin reading of the Han character, or word, at the start of `text`.
Reading readingAt(std::u32string_view text, bool surname) {
  const PinyinWord* word = surname ? wordAt(kPinyinSurnames, text) : nullptr;
  if (word == nullptr) word = wordAt(kPinyinWords, text);
  if (word != nullptr) return {word->reading, std::u16string_view(word->word).size()};
  if (text[0] == U'〇') return {"ling"};
  return {pinyin(text[0])};
}

/// True when the pinyin of a Chinese text needs a blank between these two characters.
bool needsBlank(char32_t before, char32_t after) {
  if (isHan(before)) return isHan(after) || isLatinLetter(after);
  return isHan(after) && (isLatinLetter(before) || isClosing(before));
}

std::string formOf(std::string_view text, Language language, bool person) {
  const std::u32string characters = folded(text);
  std::u32string_view rest = characters;
  while (!rest.empty() && (rest[0] == ' ' || isOpening(rest[0]))) rest.remove_prefix(1);
  std::string form;
  for (char32_t before = ' '; !rest.empty();) {
    Reading reading;
    if (language == Language::Chinese) {
      const bool name = person && form.empty() && rest.size() > 1 && isHan(rest[1]);
      if (isHan(rest[0])) reading = readingAt(rest, name);
      if (needsBlank(before, rest[0])) form += ' ';
    }
    if (!reading.text.empty()) {
      form += reading.text;
    } else if (rest[0] != ' ' || before != ' ') {
      utf8::append(form, rest[0]);
    }
    before = rest[reading.characters - 1];
    rest.remove_prefix(reading.characters);
  }
  if (form.ends_with(' ')) form.pop_back();
  return form;
}

}  // namespace

std::optional<std::array<std::string, 5>> asianForms(
    const std::array<std::string_view, 5>& texts, const std::array<std::string_view, 5>& sortTags) {
  std::array<Language, 5> languages{};
  std::ranges::transform(texts, languages.begin(), languageOf);
  Language language = std::ranges::max(languages);
  if (language == Language::None) return std::nullopt;
  for (const std::string_view tag : sortTags) language = std::max(language, languageOf(tag));

  constexpr std::size_t kArtist = 1;
  constexpr std::size_t kComposer = 4;
  std::array<std::string, 5> forms;
  for (std::size_t i = 0; i < forms.size(); ++i) {
    if (languages[i] == Language::None) continue;
    const bool sorted = languageOf(sortTags[i]) != Language::None;
    forms[i] = formOf(sorted ? sortTags[i] : texts[i], language, i == kArtist || i == kComposer);
  }
  return forms;
}

}  // namespace orvel
