#include "text/AsciiPairCosts.h"

namespace orvel {

AsciiPairCosts::AsciiPairCosts() {
  for (unsigned c = 0; c < symbols.size(); ++c) symbols[c] = alphabetModels()[0]->symbol(c);
  for (std::size_t model = 0; model < kLatinModels; ++model) {
    for (std::size_t pair = 0; pair < rows.size(); ++pair)
      rows[pair][model] = alphabetModels()[model]->cost(pair / kSymbols, pair % kSymbols);
  }
}

const AsciiPairCosts& AsciiPairCosts::instance() {
  static const AsciiPairCosts costs;
  return costs;
}

}  // namespace orvel
