#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orvel::search {

/// How well a name has a word; less is better.
enum Grade : std::uint8_t { kWhole = 0, kBeginning = 1, kNothing = 255 };

/// The folded forms of many names, one after the other.
class FoldedPool {
 public:
  /// Adds a name with its reading, which may be empty.
  void add(std::string_view name, std::string_view reading);

  [[nodiscard]] std::size_t size() const { return begins.size(); }
  [[nodiscard]] std::string_view operator[](std::size_t place) const;
  /// The grade of each name for `word`, one word of a folded text.
  [[nodiscard]] std::vector<std::uint8_t> gradesFor(std::string_view word) const;
  [[nodiscard]] std::size_t memory() const;
  /// Gives back the memory that was reserved for more.
  void shrink();

 private:
  void gradeAfter(char mark, std::string_view word, std::vector<std::uint8_t>& grades) const;

  std::string all;
  std::vector<std::uint32_t> begins;
};

}  // namespace orvel::search
