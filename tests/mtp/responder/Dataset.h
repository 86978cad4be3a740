#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvel::test {

/// Writes numbers and texts as the protocol wants them: little endian, texts in UTF-16.
class Dataset {
 public:
  Dataset& u8(std::uint8_t value) { return number(value, 1); }
  Dataset& u16(std::uint16_t value) { return number(value, 2); }
  Dataset& u32(std::uint32_t value) { return number(value, 4); }
  Dataset& u64(std::uint64_t value) { return number(value, 8); }
  /// Cut at the 254 units that a text may have.
  Dataset& text(std::u16string_view text);
  Dataset& text(std::string_view utf8);
  /// An array: the count, then the elements.
  Dataset& array(const std::vector<std::uint16_t>& values);
  Dataset& array(const std::vector<std::uint32_t>& values);

  [[nodiscard]] const std::string& bytes() const { return content; }

 private:
  Dataset& number(std::uint64_t value, unsigned size);

  std::string content;
};

/// One message on the bus; all three kinds have the same head.
struct Container {
  static constexpr std::size_t kHeadSize = 12;

  std::uint16_t type = 0;
  std::uint16_t code = 0;
  std::uint32_t transaction = 0;
  std::string payload;

  [[nodiscard]] std::string bytes() const;
  /// Nothing if `bytes` is shorter than a head.
  static std::optional<Container> parse(std::string_view bytes);
  /// The 32-bit number at this place in the payload; 0 where there is none.
  [[nodiscard]] std::uint32_t parameter(std::size_t index) const;
};

/// UTF-16 of a text; what is ill-formed becomes U+FFFD.
std::u16string utf16(std::string_view utf8);

}  // namespace orvel::test
