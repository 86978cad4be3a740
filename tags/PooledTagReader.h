#pragma once

#include <cstddef>

#include "tags/TagReader.h"

namespace orvel {

/// A reader that works on its files beside others, see `TagReaderPool`.
class PooledTagReader : public TagReader {
 public:
  /// Consecutive files of one reader of a pool. Each works on more than these ahead, so that it
  /// goes on while the results of the others are taken.
  static constexpr std::size_t kChunk = 16;

  /// Begins to read the announced files, none of which was asked for yet. False when it cannot.
  virtual bool begin() = 0;
  /// The same for a reader that can be done without: it changes no state when it cannot.
  virtual bool beginBesides() = 0;
  /// How many files it could parse in the time that it takes to begin.
  [[nodiscard]] virtual std::size_t costOfBeginning() const = 0;
};

}  // namespace orvel
