#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace orvel {

/// The characters of a range that some tables lack, numbered in code point order. Several encodings
/// were extended this way: with all missing characters in Unicode order.
class MissingCharacters {
 public:
  /// Starts with all characters from `first` to `last`.
  MissingCharacters(char32_t first, char32_t last);

  /// Removes a character, or all characters of a table except U+FFFD. Ignores those out of range.
  void remove(char32_t character);
  void remove(std::u16string_view characters);

  /// Call once after the last `remove`, before `at`.
  void count();

  /// The character with this number, counted from 0; U+FFFD past the last.
  char32_t at(unsigned number) const;

 private:
  char32_t first;
  std::vector<std::uint64_t> present;  ///< one bit for each character of the range
  std::vector<std::uint16_t> before;   ///< number of characters present before each word
  unsigned total = 0;
};

}  // namespace orvel
