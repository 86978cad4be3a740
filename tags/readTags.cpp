#include "tags/readTags.h"

#include <taglib/fileref.h>

namespace orvel {

TagResult readTags(TagStream& stream, ReadingDepth depth) {
  using Outcome = TagResult::Outcome;
  const TagLib::FileRef reference(&stream, depth == ReadingDepth::TagAndAudio,
                                  TagLib::AudioProperties::Average);
  if (stream.interrupted()) return {Outcome::Interrupted};
  if (stream.readFailed()) return {Outcome::DeviceFailed};
  if (reference.isNull()) return {Outcome::Unreadable};
  if (reference.tag() == nullptr) return {Outcome::Untagged};
  return {Outcome::Tagged, tagValuesOf(*reference.file())};
}

}  // namespace orvel
