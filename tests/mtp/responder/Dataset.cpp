#include "tests/mtp/responder/Dataset.h"

#include "base/Utf8.h"

namespace orvel::test {
namespace {

constexpr std::size_t kLongestText = 254;

std::uint32_t numberAt(std::string_view bytes, std::size_t position, unsigned size) {
  std::uint32_t value = 0;
  for (unsigned i = 0; i < size && position + i < bytes.size(); ++i)
    value |= std::uint32_t{static_cast<unsigned char>(bytes[position + i])} << 8 * i;
  return value;
}

}  // namespace

Dataset& Dataset::number(std::uint64_t value, unsigned size) {
  for (unsigned i = 0; i < size; ++i) content += static_cast<char>(value >> 8 * i & 0xFF);
  return *this;
}

Dataset& Dataset::text(std::u16string_view text) {
  text = text.substr(0, kLongestText);
  if (text.empty()) return u8(0);
  u8(static_cast<std::uint8_t>(text.size() + 1));
  for (const char16_t unit : text) u16(unit);
  return u16(0);
}

Dataset& Dataset::text(std::string_view utf8) {
  return text(utf16(utf8));
}

Dataset& Dataset::array(const std::vector<std::uint16_t>& values) {
  u32(static_cast<std::uint32_t>(values.size()));
  for (const std::uint16_t value : values) u16(value);
  return *this;
}

Dataset& Dataset::array(const std::vector<std::uint32_t>& values) {
  u32(static_cast<std::uint32_t>(values.size()));
  for (const std::uint32_t value : values) u32(value);
  return *this;
}

std::string Container::bytes() const {
  const Dataset head = Dataset()
                           .u32(static_cast<std::uint32_t>(kHeadSize + payload.size()))
                           .u16(type)
                           .u16(code)
                           .u32(transaction);
  return head.bytes() + payload;
}

std::optional<Container> Container::parse(std::string_view bytes) {
  if (bytes.size() < kHeadSize) return std::nullopt;
  return Container{static_cast<std::uint16_t>(numberAt(bytes, 4, 2)),
                   static_cast<std::uint16_t>(numberAt(bytes, 6, 2)), numberAt(bytes, 8, 4),
                   std::string(bytes.substr(kHeadSize))};
}

std::uint32_t Container::parameter(std::size_t index) const {
  return numberAt(payload, 4 * index, 4);
}

std::u16string utf16(std::string_view utf8) {
  std::u16string text;
  while (!utf8.empty()) {
    const char32_t code = utf8::take(utf8).code;
    if (code < 0x10000) {
      text += static_cast<char16_t>(code);
    } else {
      text += static_cast<char16_t>(0xD7C0 + (code >> 10));
      text += static_cast<char16_t>(0xDC00 | (code & 0x3FF));
    }
  }
  return text;
}

}  // namespace orvel::test
