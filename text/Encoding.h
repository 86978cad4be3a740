#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orvel {

/// The encodings that texts claimed as ISO-8859-1 are found to have.
enum class Encoding : std::uint8_t {
  // eight-bit
  windows1250,
  windows1251,
  windows1252,
  windows1253,
  windows1254,
  windows1255,
  windows1256,
  windows1257,
  windows1258,
  tis620,
  koi8,
  iso8859_2,
  iso8859_15,
  iso8859_16,
  // with characters of several bytes
  gb18030,
  big5,
  shiftJis,
  eucJp,
  eucKr,
  utf8
};

constexpr bool isSingleByte(Encoding encoding) {
  return encoding <= Encoding::iso8859_16;
}

/// One character read from bytes.
struct Decoded {
  char32_t code = 0xFFFD;
  unsigned size = 1;    ///< bytes that it takes
  bool valid = false;   ///< false: these bytes have no meaning, `code` is U+FFFD
  unsigned cell = ~0U;  ///< its place among the cells of the encoding's language model, if any
  bool cut = false;     ///< invalid because the text ends within the character
};

/// What the bytes 0x80 to 0xFF of an eight-bit encoding mean; U+FFFD: nothing.
std::u16string_view upperHalf(Encoding encoding);

/// Reads the first character of `bytes`, which must not be empty, in an encoding whose characters
/// take several bytes.
Decoded firstCharacter(Encoding encoding, std::string_view bytes);

/// Bytes in UTF-8: U+FFFD for what has no meaning, a character cut off at the end is left out.
std::string toUtf8(Encoding encoding, std::string_view bytes);

}  // namespace orvel
