#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orvel::test {

/// Writes numbers and texts as the protocol wants them: little endian, texts in UTF-16.
class Dataset {
 public:
  Dataset& u8(std::uint64_t value) { return number(value, 1); }
  Dataset& u16(std::uint64_t value) { return number(value, 2); }
  Dataset& u32(std::uint64_t value) { return number(value, 4); }
  Dataset& number(std::uint64_t value, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) content += static_cast<char>(value >> 8 * i & 0xFF);
    return *this;
  }
  Dataset& zeros(std::size_t count) {
    content.append(count, '\0');
    return *this;
  }
  /// Cut at the 254 units that a text may have.
  Dataset& text(std::u16string_view text) {
    text = text.substr(0, 254);
    if (text.empty()) return u8(0);
    u8(text.size() + 1);
    for (const char16_t unit : text) u16(unit);
    return u16(0);
  }
  /// The count, then the elements.
  template <class Numbers>
  Dataset& array(const Numbers& values) {
    u32(values.size());
    for (const auto value : values) number(value, sizeof value);
    return *this;
  }

  [[nodiscard]] const std::string& bytes() const { return content; }

 private:
  std::string content;
};

}  // namespace orvel::test
