#include "tools/stick/CoverImage.h"

#include <algorithm>

#include "tools/stick/Seeds.h"

namespace orvel::stick {

TagLib::ByteVector coverImage(unsigned int size) {
  constexpr unsigned int largestComment = 65533;  // the segment's 16-bit length counts itself
  const TagLib::ByteVector picture = seed("cover.jpg");
  TagLib::ByteVector image = picture.mid(0, 2);  // the start-of-image marker
  for (unsigned int left = size > picture.size() ? size - picture.size() : 0; left > 4;) {
    const unsigned int length = std::min(left - 4, largestComment);
    image.append(TagLib::ByteVector("\xff\xfe", 2));
    image.append(TagLib::ByteVector::fromShort(static_cast<short>(length + 2)));
    image.append(TagLib::ByteVector(length, 'c'));
    left -= length + 4;
  }
  image.append(picture.mid(2));
  return image;
}

}  // namespace orvel::stick
