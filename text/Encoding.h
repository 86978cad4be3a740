#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orvel {

/// The encodings that texts claimed as ISO-8859-1 may really have.
enum class Encoding : std::uint8_t {
  // Eight-bit encodings.
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
  Iso8859_7,
  Iso8859_5,
  Ibm866,
  MacCyrillic,
  // Multi-byte encodings.
  Gb18030,
  Big5,  ///< code page 950 with the characters of Hong Kong
  ShiftJis,
  EucJp,
  EucKr,
  Utf8
};

constexpr bool isSingleByte(Encoding encoding) {
  return encoding <= Encoding::MacCyrillic;
}

/// The characters of the bytes 0x80 to 0xFF in an eight-bit encoding, U+FFFD for unassigned bytes.
std::u16string_view upperHalf(Encoding encoding);

/// Converts bytes to UTF-8. Writes U+FFFD for bytes without a meaning and drops a character that is
/// cut off at the end.
std::string toUtf8(Encoding encoding, std::string_view bytes);

}  // namespace orvel
