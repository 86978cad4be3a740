#include "text/Encoding.h"

#include <array>
#include <cassert>

#include "base/Utf8.h"
#include "text/CodeTables.h"
#include "text/firstCharacter.h"

namespace orvel {

namespace {

/// Vowels in rows of six: plain, then with grave, acute, tilde, hook above and dot below.
constexpr std::u16string_view kVietnameseVowels =
    u"aàáãảạăằắẵẳặâầấẫẩậeèéẽẻẹêềếễểệiìíĩỉịoòóõỏọôồốỗổộơờớỡởợuùúũủụưừứữửựyỳýỹỷỵ"
    u"AÀÁÃẢẠĂẰẮẴẲẶÂẦẤẪẨẬEÈÉẼẺẸÊỀẾỄỂỆIÌÍĨỈỊOÒÓÕỎỌÔỒỐỖỔỘƠỜỚỠỞỢUÙÚŨỦỤƯỪỨỮỬỰYỲÝỸỶỴ";

/// Joins a vowel with the tone mark that windows-1258 writes after it; returns 0 when they do not
/// combine.
char32_t vietnamese(char32_t vowel, char32_t mark) {
  const std::size_t tone =
      std::u16string_view(u"\u0300\u0301\u0303\u0309\u0323").find(static_cast<char16_t>(mark));
  const std::size_t place = kVietnameseVowels.find(static_cast<char16_t>(vowel));
  const bool combines = tone != std::u16string_view::npos && place != std::u16string_view::npos &&
                        place % 6 == 0 && vowel < 0x10000;
  return combines ? kVietnameseVowels[place + 1 + tone] : 0;
}

std::string singleByteToUtf8(Encoding encoding, std::string_view bytes) {
  const std::u16string_view upper = upperHalf(encoding);
  std::string out;
  char32_t held = 0;  // the last character, which a mark may still change
  for (const unsigned char byte : bytes) {
    const char32_t code = byte < 0x80 ? byte : upper[byte - 0x80];
    if (encoding == Encoding::Windows1258) {
      if (const char32_t both = vietnamese(held, code); both != 0) {
        held = both;
        continue;
      }
      if (held != 0) utf8::append(out, held);
      held = code;
    } else {
      utf8::append(out, code);
    }
  }
  if (held != 0) utf8::append(out, held);
  return out;
}

}  // namespace

std::u16string_view upperHalf(Encoding encoding) {
  static const std::array tables{&cp1250Table,    &cp1251Table,     &cp1252Table,   &cp1253Table,
                                 &cp1254Table,    &cp1255Table,     &cp1256Table,   &cp1257Table,
                                 &cp1258Table,    &cp874Table,      &koi8uTable,    &iso88592Table,
                                 &iso885915Table, &iso885916Table,  &iso88597Table, &iso88595Table,
                                 &cp866Table,     &maccyrillicTable};
  assert(isSingleByte(encoding));
  return *tables[static_cast<std::size_t>(encoding)];
}

std::string toUtf8(Encoding encoding, std::string_view bytes) {
  if (isSingleByte(encoding)) return singleByteToUtf8(encoding, bytes);
  std::string out;
  while (!bytes.empty()) {
    const Decoded character = firstCharacter(encoding, bytes);
    if (!character.cut) utf8::append(out, character.code);
    bytes.remove_prefix(character.size);
  }
  return out;
}

}  // namespace orvel
