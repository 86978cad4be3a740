#pragma once

#include "tags/TagReader.h"

namespace orvel {

/// Lends a stage's reader to the code deep below it on the same thread while in scope.
class TagReaderScope {
 public:
  explicit TagReaderScope(TagReader& reader);
  ~TagReaderScope();
  TagReaderScope(const TagReaderScope&) = delete;
  TagReaderScope& operator=(const TagReaderScope&) = delete;

  /// Reads with the reader lent to this thread; without one, parses on the calling thread.
  static TagResult read(TagStream& stream);

 private:
  TagReader* outer;
};

}  // namespace orvel
