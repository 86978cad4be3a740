#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace orvel::stick {

/// Makes invented names and choices, the same for the same seed on every machine.
class RandomNames {
 public:
  explicit RandomNames(std::uint64_t seed) : generator(seed) {}

  /// A number from `low` to `high`, inclusive.
  unsigned int number(unsigned int low, unsigned int high);

  /// True with a probability of `percent`.
  bool chance(unsigned int percent) { return number(1, 100) <= percent; }

  template <typename Choice>
  const Choice& oneOf(const std::vector<Choice>& choices) {
    return choices[number(0, static_cast<unsigned int>(choices.size()) - 1)];
  }

  /// Latin in four of five calls, otherwise another script.
  const std::vector<std::string>& script();

  /// The syllables for words without accents.
  static const std::vector<std::string>& asciiScript();

  /// A phrase of `words` invented words.
  /// @param syllables of one script, from script() or asciiScript()
  std::string phrase(const std::vector<std::string>& syllables, unsigned int words);

 private:
  std::mt19937_64 generator;
};

}  // namespace orvel::stick
