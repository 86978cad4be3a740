#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace orvel {

/// Reads numbers from data; beyond its end there are zeros.
class Bytes {
 public:
  explicit Bytes(std::string_view all) : bytes(all) {}

  [[nodiscard]] bool has(std::size_t at, std::string_view text) const {
    return bytes.size() >= at && bytes.substr(at).starts_with(text);
  }
  [[nodiscard]] std::uint32_t byte(std::size_t at) const {
    return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
  }
  [[nodiscard]] std::uint32_t big16(std::size_t at) const { return byte(at) << 8 | byte(at + 1); }
  [[nodiscard]] std::uint32_t big32(std::size_t at) const {
    return big16(at) << 16 | big16(at + 2);
  }
  [[nodiscard]] std::uint32_t little16(std::size_t at) const {
    return byte(at + 1) << 8 | byte(at);
  }
  [[nodiscard]] std::uint32_t little24(std::size_t at) const {
    return byte(at + 2) << 16 | little16(at);
  }
  [[nodiscard]] std::uint32_t little32(std::size_t at) const {
    return little16(at + 2) << 16 | little16(at);
  }
  [[nodiscard]] std::size_t size() const { return bytes.size(); }

 private:
  std::string_view bytes;
};

}  // namespace orvel
