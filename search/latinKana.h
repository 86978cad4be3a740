#pragma once

#include <string>

namespace orvel::search {

/// True for hiragana, katakana and the mark of a long vowel.
bool isLatinKana(char32_t code);

/// Writes a run of kana in Latin letters, as Hepburn spells it but without signs for long vowels.
class LatinKana {
 public:
  /// Appends one kana of a run to `out`, which ends with the kana before it.
  void append(std::string& out, char32_t code);

 private:
  bool isDoubled = false;    ///< a small tsu came before
  std::size_t syllable = 0;  ///< length of the last syllable in `out`; 0 for none
};

}  // namespace orvel::search
