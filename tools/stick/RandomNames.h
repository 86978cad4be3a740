#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace orvel::stick {

/// Invented names and choices that are the same for the same seed on every machine.
class RandomNames {
 public:
  explicit RandomNames(std::uint64_t seed) : generator(seed) {}

  /// A number from `low` to `high`, both included.
  unsigned int number(unsigned int low, unsigned int high);

  /// True in `percent` of a hundred calls.
  bool chance(unsigned int percent) { return number(1, 100) <= percent; }

  template <typename Choice>
  const Choice& oneOf(const std::vector<Choice>& choices) {
    return choices[number(0, static_cast<unsigned int>(choices.size()) - 1)];
  }

  /// Latin four times out of five, else one of the other scripts.
  const std::vector<std::string>& script();

  /// Only words without accents.
  static const std::vector<std::string>& asciiScript();

  /// A phrase of `words` invented words.
  /// @param syllables of one script, from script() or asciiScript()
  std::string phrase(const std::vector<std::string>& syllables, unsigned int words);

 private:
  std::mt19937_64 generator;
};

}  // namespace orvel::stick
