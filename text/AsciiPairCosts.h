#pragma once

#include <array>
#include <cstdint>

#include "text/SingleByteReader.h"

namespace orvel {

/// The costs of pairs of ASCII characters in all Latin languages at once. They are the same in
/// every encoding, and most characters of most tags are ASCII.
class AsciiPairCosts {
 public:
  /// One cost per model of Latin script, and padding to a multiple of a vector register's bytes.
  template <typename Cost>
  using Row = std::array<Cost, (kLatinModels + 15) / 16 * 16>;

  AsciiPairCosts();

  /// Adds the costs of `second` after `first` to the sums.
  void add(Row<unsigned>& sums, std::uint8_t first, std::uint8_t second) const {
    const Row<std::uint8_t>& row = rows[symbols[first] * kSymbols + symbols[second]];
    for (std::size_t i = 0; i < row.size(); ++i) sums[i] += row[i];
  }

  /// The instance that all share; never destroyed. Any thread.
  static const AsciiPairCosts& instance();

 private:
  static constexpr std::size_t kSymbols = AlphabetModel::FixedSymbols + 26;

  std::array<std::uint8_t, 128> symbols{};
  std::array<Row<std::uint8_t>, kSymbols * kSymbols> rows{};
};

}  // namespace orvel
