#include "tags/readTags.h"

#include <taglib/fileref.h>

#include "tags/readPicture.h"

namespace orvel {

TagResult readTags(TagStream& stream) {
  using Outcome = TagResult::Outcome;
  const TagLib::FileRef reference(&stream, true, TagLib::AudioProperties::Average);
  if (stream.interrupted()) return {Outcome::Interrupted};
  const bool hasTag = !reference.isNull() && reference.tag() != nullptr;
  if (stream.readFailed()) {
    return {Outcome::DeviceFailed, hasTag ? tagValuesOf(*reference.file()) : TagValues()};
  }
  if (reference.isNull()) return {Outcome::Unreadable};
  if (!hasTag) return {Outcome::Untagged};
  return {Outcome::Tagged, tagValuesOf(*reference.file())};
}

TagResult readFile(TagStream& stream, ReadingGoal goal) {
  return goal == ReadingGoal::Picture ? readPicture(stream) : readTags(stream);
}

}  // namespace orvel
