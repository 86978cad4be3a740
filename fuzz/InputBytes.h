#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace orvel::fuzz {

/// Takes values from the front of a target's input; zeros and empty texts when it is used up.
class InputBytes {
 public:
  InputBytes(const std::uint8_t* data, std::size_t size)
      : left(reinterpret_cast<const char*>(data), size) {}

  [[nodiscard]] bool empty() const { return left.empty(); }

  std::uint8_t byte() {
    const std::string_view taken = take(1);
    return taken.empty() ? 0 : static_cast<std::uint8_t>(taken[0]);
  }
  /// A number below `bound`, which is 256 at most.
  unsigned below(unsigned bound) { return byte() % bound; }
  /// Of four bytes.
  std::uint32_t word() {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = value << 8U | byte();
    return value;
  }
  /// A text up to the next line end.
  std::string line() {
    std::string text(take(std::min(left.find('\n'), left.size())));
    take(1);
    return text;
  }
  std::string rest() { return std::string(take(left.size())); }

 private:
  std::string_view take(std::size_t bytes) {
    const std::string_view taken = left.substr(0, bytes);
    left.remove_prefix(taken.size());
    return taken;
  }

  std::string_view left;
};

}  // namespace orvel::fuzz
