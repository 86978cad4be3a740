#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace orvel {

/// The characters of a range that some tables do not hold, numbered in code point order. Encodings
/// were extended in this way: with everything that they lacked, in Unicode order.
class MissingCharacters {
 public:
  /// Starts with all characters from `first` to `last`.
  MissingCharacters(char32_t first, char32_t last);

  /// Takes out a character, and what a table holds apart from U+FFFD, as far as it is in the range.
  void remove(char32_t character);
  void remove(std::u16string_view characters);

  /// Call once after the last `remove`, before `at`.
  void count();

  /// The character with this number, counted from 0; U+FFFD behind the last.
  char32_t at(unsigned number) const;

 private:
  char32_t first;
  std::vector<std::uint64_t> present;  // one bit for each character of the range
  std::vector<std::uint16_t> before;   // how many are present in front of each word
  unsigned total = 0;
};

}  // namespace orvel
