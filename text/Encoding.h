#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orvel {

/// The encodings that texts claimed as ISO-8859-1 are found to have.
enum class Encoding : std::uint8_t {
  // eight-bit
  Windows1250,
  Windows1251,
  Windows1252,
  Windows1253,
  Windows1254,
  Windows1255,
  Windows1256,
  Windows1257,
  Windows1258,
  Tis620,
  Koi8,
  Iso8859_2,
  Iso8859_15,
  Iso8859_16,
  // with characters of several bytes
  Gb18030,
  Big5,
  ShiftJis,
  EucJp,
  EucKr,
  Utf8
};

constexpr bool isSingleByte(Encoding encoding) {
  return encoding <= Encoding::Iso8859_16;
}

/// What the bytes 0x80 to 0xFF of an eight-bit encoding mean; U+FFFD: nothing.
std::u16string_view upperHalf(Encoding encoding);

/// Bytes in UTF-8: U+FFFD for what has no meaning, a character cut off at the end is left out.
std::string toUtf8(Encoding encoding, std::string_view bytes);

}  // namespace orvel
