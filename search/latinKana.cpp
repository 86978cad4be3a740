#include "search/latinKana.h"

#include <array>
#include <string_view>

namespace orvel::search {

namespace {

constexpr char32_t kFirstHiragana = 0x3041;
constexpr char32_t kFirstKatakana = 0x30A1;
constexpr char32_t kLongVowel = 0x30FC;
constexpr char32_t kSmallTsu = 0x3063;

/// The hiragana in the order of Unicode. A capital letter stands for a small kana.
constexpr std::array<std::string_view, 86> kSyllables{
    "A",  "a",  "I",   "i",  "U",  "u",   "E",  "e",   "O",  "o",  "ka", "ga", "ki", "gi", "ku",
    "gu", "ke", "ge",  "ko", "go", "sa",  "za", "shi", "ji", "su", "zu", "se", "ze", "so", "zo",
    "ta", "da", "chi", "ji", "",   "tsu", "zu", "te",  "de", "to", "do", "na", "ni", "nu", "ne",
    "no", "ha", "ba",  "pa", "hi", "bi",  "pi", "fu",  "bu", "pu", "he", "be", "pe", "ho", "bo",
    "po", "ma", "mi",  "mu", "me", "mo",  "Ya", "ya",  "Yu", "yu", "Yo", "yo", "ra", "ri", "ru",
    "re", "ro", "Wa",  "wa", "i",  "e",   "o",  "n",   "vu", "ka", "ke"};

constexpr bool isSmall(std::string_view text) {
  return !text.empty() && text.front() >= 'A' && text.front() <= 'Z';
}

/// Merges a small kana with the syllable before it: "ki" and "Ya" are "kya", "fu" and "A" are "fa".
std::string merged(std::string_view syllable, std::string_view small) {
  std::string text(syllable.substr(0, syllable.size() - 1));
  const bool isSoft = text == "sh" || text == "ch" || text == "j";
  if (syllable == "u") text.push_back('w');
  if (small.size() > 1 && !isSoft) text += static_cast<char>(small.front() | 0x20);
  return text += static_cast<char>(small.back() | 0x20);
}

}  // namespace

bool isLatinKana(char32_t code) {
  const auto isIn = [code](char32_t first) {
    return code >= first && code < first + kSyllables.size();
  };
  return isIn(kFirstHiragana) || isIn(kFirstKatakana) || code == kLongVowel;
}

void LatinKana::append(std::string& out, char32_t code) {
  if (code == kLongVowel) return;
  if (code >= kFirstKatakana) code -= kFirstKatakana - kFirstHiragana;
  if (code == kSmallTsu) {
    isDoubled = true;
    return;
  }
  const std::string_view text = kSyllables[code - kFirstHiragana];
  std::string sound(text);
  if (isSmall(text) && syllable != 0) {
    sound = merged(std::string_view(out).substr(out.size() - syllable), text);
    out.resize(out.size() - syllable);
  } else if (isSmall(text)) {
    sound.front() = static_cast<char>(sound.front() | 0x20);
  }
  if (isDoubled) out += sound.front() == 'c' ? 't' : sound.front();
  isDoubled = false;
  syllable = sound.size();
  out += sound;
}

}  // namespace orvel::search
