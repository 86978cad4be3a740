#include "text/LetterCosts.h"

#include <bit>

#include "text/PrintableDigit.h"
#include "text/SingleByteReader.h"

namespace orvel {

namespace {

// What a triple costs more than its last pair, in sixths of a nat. Cross-validation chose them.
constexpr int kLikely = -6, kUnlikely = 6;

}  // namespace

LetterCosts::LetterCosts(const AlphabetModel& model)
    : size(model.size()),
      triples(std::bit_ceil((model.likely.size() + model.unlikely.size()) / 3 * 2 + 1)) {
  pairs.reserve(model.costs.size());
  for (const char digit : model.costs) pairs.push_back(printableDigit(digit));
  add(model.likely, kLikely);
  add(model.unlikely, kUnlikely);
}

void LetterCosts::add(std::string_view digits, int cost) {
  for (; !digits.empty(); digits.remove_prefix(3)) {
    const std::size_t pair = printableDigit(digits[1]) * size + printableDigit(digits[2]);
    pairs[pair] |= kInTriples;
    const std::uint32_t key = keyOf(printableDigit(digits[0]), pair);
    triples[slotOf(key)] = {key, cost};
  }
}

/// The slot that holds a triple or is free for it. No triple has the key 0.
std::size_t LetterCosts::slotOf(std::uint32_t key) const {
  constexpr std::uint32_t kSpread = 0x9E3779B1;
  const std::size_t last = triples.size() - 1;
  std::size_t slot = (key * kSpread >> 16U) & last;
  while (triples[slot].key != key && triples[slot].key != 0) slot = (slot + 1) & last;
  return slot;
}

const LetterCosts& LetterCosts::ofModel(std::size_t model) {
  static const std::vector<LetterCosts> all = [] {
    std::vector<LetterCosts> made;
    for (const AlphabetModel* const language : alphabetModels()) made.emplace_back(*language);
    return made;
  }();
  return all[model];
}

}  // namespace orvel
