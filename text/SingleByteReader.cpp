#include "text/SingleByteReader.h"

#include <cassert>

namespace orvel {

namespace {

constexpr std::array<const AlphabetModel*, 29> kModels{
    &enModel, &deModel, &frModel, &esModel, &itModel, &ptModel, &caModel, &nlModel,
    &svModel, &noModel, &fiModel, &isModel, &xxModel, &plModel, &csModel, &huModel,
    &roModel, &hrModel, &trModel, &ltModel, &lvModel, &viModel, &ruModel, &ukModel,
    &bgModel, &elModel, &arModel, &heModel, &thModel};

/// The range of an encoding's languages among the models.
struct Languages {
  Encoding encoding;
  std::size_t first, count;
};

constexpr Languages kLanguages[] = {
    {Encoding::Windows1250, 13, 5}, {Encoding::Windows1251, 22, 3}, {Encoding::Windows1252, 0, 13},
    {Encoding::Windows1253, 25, 1}, {Encoding::Windows1254, 18, 1}, {Encoding::Windows1255, 27, 1},
    {Encoding::Windows1256, 26, 1}, {Encoding::Windows1257, 19, 2}, {Encoding::Windows1258, 21, 1},
    {Encoding::Tis620, 28, 1},      {Encoding::Koi8, 22, 2},        {Encoding::Iso8859_2, 13, 5},
    {Encoding::Iso8859_15, 0, 13},  {Encoding::Iso8859_16, 13, 5}};

SingleByteReader makeReader(const Languages& range) {
  SingleByteReader reader;
  const std::u16string_view upper = upperHalf(range.encoding);
  const auto code = [&](unsigned byte) -> char32_t {
    return byte < 0x80 ? byte : upper[byte - 0x80];
  };
  for (unsigned byte = 0; byte < 256; ++byte) {
    reader.cases[byte] = letterCase(code(byte));
    const bool control = code(byte) >= 0x80 && code(byte) < 0xA0;
    reader.meaningless[byte] = control || code(byte) == 0xFFFD;
  }
  reader.firstModel = range.first;
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
  static const std::vector<SingleByteReader> readers = [] {
    std::vector<SingleByteReader> made;
    for (const Languages& range : kLanguages) made.push_back(makeReader(range));
    return made;
  }();
  assert(isSingleByte(encoding));
  return readers[static_cast<std::size_t>(encoding)];  // the table is in the order of the encodings
}

}  // namespace orvel
