#include "tags/TagReaderScope.h"

#include <utility>

#include "tags/readFile.h"

namespace orvel {

namespace {
thread_local TagReader* lent = nullptr;
}  // namespace

TagReaderScope::TagReaderScope(TagReader& reader) : outer(std::exchange(lent, &reader)) {}

TagReaderScope::~TagReaderScope() {
  lent = outer;
}

TagResult TagReaderScope::read(TagStream& stream) {
  return lent != nullptr ? lent->read(stream) : readFile(stream, ReadingGoal::Tags);
}

}  // namespace orvel
