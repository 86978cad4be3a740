#include "tags/readTags.h"

#include <taglib/fileref.h>

namespace orvel {

TagResult readTags(TagStream& stream, ReadingDepth depth) {
  using Outcome = TagResult::Outcome;
  const TagLib::FileRef reference(&stream, depth == ReadingDepth::TagAndAudio,
                                  TagLib::AudioProperties::Average);
  if (stream.interrupted()) return {Outcome::Interrupted};
  const bool hasTag = !reference.isNull() && reference.tag() != nullptr;
  if (stream.readFailed()) {
    return {Outcome::DeviceFailed, hasTag ? tagValuesOf(*reference.file()) : TagValues()};
  }
  if (reference.isNull()) return {Outcome::Unreadable};
  if (!hasTag) return {Outcome::Untagged};
  return {Outcome::Tagged, tagValuesOf(*reference.file())};
}

}  // namespace orvel
