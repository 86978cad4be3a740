#include "text/unmarkedUtf16.h"

#include <algorithm>
#include <initializer_list>

#include "base/Utf8.h"

namespace orvel {

namespace {

constexpr bool within(char32_t code, char32_t low, char32_t high) {
  return code >= low && code <= high;
}

std::u16string unitsOf(std::string_view bytes, ByteOrder order) {
  std::u16string units;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto first = static_cast<unsigned char>(bytes[i]);
    const auto second = static_cast<unsigned char>(bytes[i + 1]);
    const unsigned unit = order == ByteOrder::Little ? first | second << 8U : first << 8U | second;
    units += static_cast<char16_t>(unit);
  }
  return units;
}

bool isControl(char32_t unit) {
  return unit < 0x20 || within(unit, 0x7F, 0x9F);
}

/// True for characters of East Asian texts, among them ASCII.
bool isEastAsian(char32_t unit) {
  return within(unit, 0x20, 0x7E) || within(unit, 0x2010, 0x2027) || within(unit, 0x3000, 0x30FF) ||
         within(unit, 0x4E00, 0x9FFF) || within(unit, 0xAC00, 0xD7A3) ||
         within(unit, 0xFF01, 0xFF9F);
}

/// True for characters of alphabets, and typographic marks.
bool isAlphabetic(char32_t unit) {
  return unit < 0x2100 && !isControl(unit);
}

/// Alphabets lie below U+2000, typographic marks right above. When all units lie there, their upper
/// halves are control characters or blanks, which no text of bytes has in every other place.
bool isAlphabeticText(std::u16string_view units) {
  const auto letters = std::ranges::count_if(units, [](char16_t unit) { return unit < 0x2000; });
  return units.size() > 1 && std::ranges::all_of(units, isAlphabetic) &&
         2 * static_cast<std::size_t>(letters) > units.size();
}

/// East Asian units: one in ASCII or with a control character as a lower half, which texts of bytes
/// lack, and one that is no pair of ASCII characters. Texts of bytes may have NULs at the end or
/// between their parts.
bool isEastAsianText(std::u16string_view units) {
  if (units.empty() || !std::ranges::all_of(units, isEastAsian)) return false;
  const bool pairs = std::ranges::all_of(
      units, [](char16_t unit) { return unit < 0x8000 && within(unit & 0xFFU, 0x20, 0x7E); });
  units.remove_suffix(1);
  return !pairs && std::ranges::any_of(units, [](char16_t unit) {
    return unit < 0x80 || within(unit & 0xFFU, 0x01, 0x08);
  });
}

}  // namespace

std::optional<ByteOrder> unmarkedUtf16(std::string_view bytes) {
  if (bytes.size() % 2 != 0) return std::nullopt;
  for (const ByteOrder order : {ByteOrder::Little, ByteOrder::Big}) {
    const std::u16string units = unitsOf(bytes, order);
    if (isAlphabeticText(units) || isEastAsianText(units)) return order;
  }
  return std::nullopt;
}

std::optional<std::string> utf16Text(std::string_view bytes, ByteOrder order) {
  if (bytes.size() % 2 != 0) return std::nullopt;
  std::string out;
  for (const char16_t unit : unitsOf(bytes, order)) {
    if (!isAlphabetic(unit) && !isEastAsian(unit)) return std::nullopt;
    utf8::append(out, unit);
  }
  return out;
}

}  // namespace orvel
