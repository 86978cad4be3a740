#include <orvel/Search.h>

#include <glib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "base/GlibText.h"
#include "base/Utf8.h"
#include "search/latinKana.h"

namespace orvel {

namespace {

using search::isLatinKana;
using search::LatinKana;

/// Marks the begin of a word where the text itself has no gap.
constexpr char kWordBegin = '\1';

enum class Script { None, Han, Kana, Hangul, Other };

/// Letters that Unicode does not decompose, and their usual spellings.
constexpr std::array<std::pair<char32_t, std::string_view>, 12> kSpellings{{{U'ß', "ss"},
                                                                            {U'æ', "ae"},
                                                                            {U'ð', "d"},
                                                                            {U'ø', "o"},
                                                                            {U'þ', "th"},
                                                                            {U'đ', "d"},
                                                                            {U'ħ', "h"},
                                                                            {U'ı', "i"},
                                                                            {U'ł', "l"},
                                                                            {U'œ', "oe"},
                                                                            {U'ŧ', "t"},
                                                                            {U'ς', "σ"}}};

constexpr bool isIn(char32_t code, char32_t first, char32_t last) {
  return code >= first && code <= last;
}

constexpr bool isHan(char32_t code) {
  return isIn(code, 0x3400, 0x4DBF) || isIn(code, 0x4E00, 0x9FFF);
}

constexpr bool isHangul(char32_t code) {
  return isIn(code, 0xAC00, 0xD7A3);
}

bool isApostrophe(char32_t code) {
  return code == '\'' || code == U'’' || code == U'‘' || code == U'ʼ' || code == U'ʻ';
}

/// Accents, and the points of Hebrew and Arabic, which people leave out. The vowel signs of other
/// scripts belong to their words.
bool isAccent(char32_t code) {
  return isIn(code, 0x300, 0x36F) || isIn(code, 0x591, 0x5C7) || isIn(code, 0x610, 0x61A) ||
         isIn(code, 0x640, 0x640) || isIn(code, 0x64B, 0x65F) || code == 0x670 ||
         isIn(code, 0x1AB0, 0x1AFF) || isIn(code, 0x1DC0, 0x1DFF) || isIn(code, 0x20D0, 0x20FF);
}

bool isOfWords(char32_t code) {
  return g_unichar_isalnum(code) != FALSE || g_unichar_ismark(code) != FALSE;
}

Script scriptOf(char32_t code) {
  if (isHan(code)) return Script::Han;
  if (isHangul(code)) return Script::Hangul;
  if (isLatinKana(code)) return Script::Kana;
  if (code < 0x1100) return Script::Other;
  switch (g_unichar_get_script(code)) {
    case G_UNICODE_SCRIPT_HAN:
      return Script::Han;
    case G_UNICODE_SCRIPT_HANGUL:
      return Script::Hangul;
    default:
      return Script::Other;
  }
}

/// A letter in lower case and without its accents.
std::string basesOf(char32_t code) {
  std::string text;
  std::array<gunichar, G_UNICHAR_MAX_DECOMPOSITION_LENGTH> bases{};
  const std::size_t count = g_unichar_fully_decompose(code, FALSE, bases.data(), bases.size());
  for (std::size_t i = 0; i < count; ++i) {
    if (isAccent(bases[i])) continue;
    const char32_t lower = g_unichar_tolower(bases[i]);
    const auto* const spelling =
        std::find_if(kSpellings.begin(), kSpellings.end(),
                     [lower](const auto& known) { return known.first == lower; });
    if (spelling == kSpellings.end()) {
      utf8::append(text, lower);
    } else {
      text += spelling->second;
    }
  }
  return text;
}

/// Latin, Greek and Cyrillic letters, of which a search reads hundreds of thousands.
constexpr char32_t kUsualLetters = 0x500;

const std::array<std::string, kUsualLetters>& usualBases() {
  static const auto table = [] {
    std::array<std::string, kUsualLetters> bases;
    for (char32_t code = 0; code < kUsualLetters; ++code) bases[code] = basesOf(code);
    return bases;
  }();
  return table;
}

/// Collects words.
class Folding {
 public:
  void take(char32_t code) {
    if (code < 0x80 && g_ascii_isalnum(static_cast<char>(code))) {
      enter(Script::Other);
      out += g_ascii_tolower(static_cast<char>(code));
    } else if (isApostrophe(code) || isAccent(code)) {
      return;
    } else if (code < 0x80 || !(isHan(code) || isHangul(code) || isOfWords(code))) {
      script = Script::None;
    } else {
      takeLetter(code);
    }
  }

  std::string out;

 private:
  /// Marks the begin of a word before a character of `next`.
  void enter(Script next) {
    if (script == Script::None) {
      out += ' ';
    } else if (next != script || next == Script::Han) {
      out += kWordBegin;
    }
    if (next != script) kana = {};
    script = next;
  }

  void takeLetter(char32_t code) {
    const Script next = scriptOf(code);
    enter(next);
    if (next == Script::Kana) {
      kana.append(out, code);
    } else if (next == Script::Other) {
      out += code < kUsualLetters ? usualBases()[code] : basesOf(code);
    } else {
      utf8::append(out, code);
    }
  }

  Script script = Script::None;
  LatinKana kana;
};

std::string folded(std::string_view text) {
  Folding folding;
  folding.out.reserve(text.size() + 1);
  while (!text.empty()) folding.take(utf8::take(text).code);
  return std::move(folding.out);
}

/// True for the letters of most texts, which compatibility composition (NFKC) leaves alone.
constexpr bool isComposed(char32_t code) {
  return code < 0x80 || isHan(code) || isHangul(code) || isIn(code, 0xC0, 0x131) ||
         isIn(code, 0x14A, 0x17E) || isIn(code, 0x391, 0x3CE) || isIn(code, 0x400, 0x482) ||
         isIn(code, 0x5D0, 0x5EA) || isIn(code, 0x621, 0x64A) || isIn(code, 0xE01, 0xE30) ||
         isIn(code, 0x3000, 0x3002) || isIn(code, 0x3041, 0x3096) || isIn(code, 0x30A1, 0x30FC);
}

bool isComposed(std::string_view text) {
  while (!text.empty()) {
    if (!isComposed(utf8::take(text).code)) return false;
  }
  return true;
}

}  // namespace

std::string foldedText(std::string_view text) {
  if (text.empty()) return {};
  if (isComposed(text)) {
    std::string words = folded(text);
    if (words.empty()) words.append(1, ' ').append(text);
    return words;
  }
  const GlibText valid =
      ownGlibText(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
  const GlibText composed = ownGlibText(g_utf8_normalize(valid.get(), -1, G_NORMALIZE_NFKC));
  std::string words = folded(composed.get());
  if (words.empty()) words.append(1, ' ').append(composed.get());
  return words;
}

}  // namespace orvel
