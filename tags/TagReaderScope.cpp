#include "tags/TagReaderScope.h"

#include <utility>

#include "tags/readTags.h"

namespace orvel {

namespace {
thread_local TagReader* lent = nullptr;
}  // namespace

TagReaderScope::TagReaderScope(TagReader& reader) : outer(std::exchange(lent, &reader)) {}

TagReaderScope::~TagReaderScope() {
  lent = outer;
}

TagResult TagReaderScope::read(TagStream& stream) {
  return lent != nullptr ? lent->read(stream) : readTags(stream);
}

}  // namespace orvel
