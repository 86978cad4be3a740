#pragma once

#include "tags/TagReader.h"

namespace orvel {

/// Lends a stage's reader to the code deep below it on the same thread, while the scope lives.
class TagReaderScope {
 public:
  explicit TagReaderScope(TagReader& reader);
  ~TagReaderScope();
  TagReaderScope(const TagReaderScope&) = delete;
  TagReaderScope& operator=(const TagReaderScope&) = delete;

  /// Reads with the reader that was lent to this thread; without one, on the thread itself.
  static TagResult read(TagStream& stream);

 private:
  TagReader* outer;
};

}  // namespace orvel
