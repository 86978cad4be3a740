#include "text/LetterCosts.h"

#include <bit>

#include "base/NoDestructor.h"
#include "text/PrintableDigit.h"
#include "text/SingleByteReader.h"

namespace orvel {

namespace {

// What a triple costs beyond its last pair, in sixths of a nat: as much as generateModels.py
// demands that it differ. Cross-validation chose it.
constexpr std::int8_t kLikely = -6, kUnlikely = 12;

constexpr std::size_t kTripleDigits = 3;

}  // namespace

LetterCosts::LetterCosts(const AlphabetModel& model)
    : size(model.size()),
      triples(
          std::bit_ceil((model.likely.size() + model.unlikely.size()) / kTripleDigits * 2 + 1)) {
  pairs.reserve(model.costs.size());
  for (const char digit : model.costs) pairs.push_back(printableDigit(digit));
  add(model.likely, kLikely);
  add(model.unlikely, kUnlikely);
}

void LetterCosts::add(std::string_view digits, std::int8_t cost) {
  for (; !digits.empty(); digits.remove_prefix(kTripleDigits)) {
    const auto before = static_cast<std::uint8_t>(printableDigit(digits[0]));
    const std::size_t pair = printableDigit(digits[1]) * size + printableDigit(digits[2]);
    pairs[pair] |= kEndsTriples;
    triples[slotOf(before, pair)] = {static_cast<std::uint16_t>(pair), before, cost};
  }
}

/// The slot that holds a triple or is free for it.
std::size_t LetterCosts::slotOf(std::uint8_t before, std::size_t pair) const {
  constexpr std::uint32_t kSpread = 0x9E3779B1;
  const std::size_t last = triples.size() - 1;
  const auto key = static_cast<std::uint32_t>(pair << 8U) + before;
  std::size_t slot = (key * kSpread >> 16U) & last;
  while (triples[slot].cost != 0 && (triples[slot].pair != pair || triples[slot].before != before))
    slot = (slot + 1) & last;
  return slot;
}

const LetterCosts& LetterCosts::of(std::size_t model) {
  static NoDestructor<std::vector<LetterCosts>> all([] {
    std::vector<LetterCosts> made;
    for (const AlphabetModel* const language : alphabetModels()) made.emplace_back(*language);
    return made;
  }());
  return (*all)[model];
}

}  // namespace orvel
