#include "text/SingleByteReader.h"

#include <cassert>

#include "base/NoDestructor.h"
#include "text/letterCase.h"

namespace orvel {

namespace {

constexpr std::array<const AlphabetModel*, 38> kModels{
    &enModel, &deModel, &frModel, &furModel, &esModel, &itModel, &ptModel, &caModel,
    &nlModel, &fyModel, &svModel, &noModel,  &fiModel, &isModel, &gaModel, &sqModel,
    &xxModel, &etModel, &ltModel, &lvModel,  &plModel, &csModel, &skModel, &huModel,
    &roModel, &hrModel, &trModel, &viModel,  &ruModel, &ukModel, &beModel, &bgModel,
    &srModel, &elModel, &arModel, &faModel,  &heModel, &thModel};

/// The range of an encoding's languages among the models.
struct Languages {
  Encoding encoding;
  std::size_t first, count;
};

constexpr Languages kLanguages[] = {
    {Encoding::Windows1250, 20, 6}, {Encoding::Windows1251, 28, 5}, {Encoding::Windows1252, 0, 18},
    {Encoding::Windows1253, 33, 1}, {Encoding::Windows1254, 26, 1}, {Encoding::Windows1255, 36, 1},
    {Encoding::Windows1256, 34, 2}, {Encoding::Windows1257, 17, 3}, {Encoding::Windows1258, 27, 1},
    {Encoding::Tis620, 37, 1},      {Encoding::Koi8, 28, 4},        {Encoding::Iso8859_2, 20, 6},
    {Encoding::Iso8859_15, 0, 18},  {Encoding::Iso8859_16, 24, 1},  {Encoding::Iso8859_7, 33, 1},
    {Encoding::Iso8859_5, 28, 5},   {Encoding::Ibm866, 28, 4},      {Encoding::MacCyrillic, 28, 5}};

/// Signs that stand alone, before a digit, or after a word, but not before a letter.
bool isSign(char32_t c) {
  constexpr std::u32string_view kSigns =
      U"\u00A2\u00A3\u00A4\u00A5\u00A6\u00A7\u00A8\u00A9\u00AC\u00AE\u00AF\u00B1\u00B2\u00B3\u00B6"
      U"\u00B8"
      U"\u00B9\u00BC\u00BD\u00BE\u02C7\u02D8\u02D9\u02DB\u02DD";
  return kSigns.find(c) != std::u32string_view::npos;
}

SingleByteReader::Shape shapeOf(char32_t code, bool latin, const AlphabetModel& model) {
  using enum SingleByteReader::Shape;
  if ((code >= 0x80 && code < 0xA0) || code == 0xFFFD) return Meaningless;
  if (latin && isSign(code)) return Sign;
  const bool other = !latin && code >= 0x80;
  switch (letterCase(code)) {
    case LetterCase::Lower:
      return other ? OtherLower : LatinLower;
    case LetterCase::Upper:
      return other ? OtherUpper : LatinUpper;
    default:
      return other && model.symbol(code) >= AlphabetModel::Foreign ? OtherUncased : NoLetter;
  }
}

SingleByteReader makeReader(const Languages& range) {
  SingleByteReader reader;
  const std::u16string_view upper = upperHalf(range.encoding);
  const auto code = [&](unsigned byte) -> char32_t {
    return byte < 0x80 ? byte : upper[byte - 0x80];
  };
  reader.firstModel = range.first;
  const bool latin = range.first < kLatinModels;
  for (unsigned byte = 0; byte < 256; ++byte)
    reader.shapes[byte] = shapeOf(code(byte), latin, *alphabetModels()[range.first]);
  for (const AlphabetModel* model : alphabetModels().subspan(range.first, range.count)) {
    SingleByteReader::Symbols& symbols = reader.symbols.emplace_back();
    for (unsigned byte = 0; byte < 256; ++byte) symbols[byte] = model->symbol(code(byte));
  }
  return reader;
}

}  // namespace

std::span<const AlphabetModel* const> alphabetModels() {
  return kModels;
}

const SingleByteReader& SingleByteReader::of(Encoding encoding) {
  static NoDestructor<std::vector<SingleByteReader>> readers([] {
    std::vector<SingleByteReader> made;
    for (const Languages& range : kLanguages) made.push_back(makeReader(range));
    return made;
  }());
  assert(isSingleByte(encoding));
  // The table is in the order of the encodings.
  return (*readers)[static_cast<std::size_t>(encoding)];
}

}  // namespace orvel
