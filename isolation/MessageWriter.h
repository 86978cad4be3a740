#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace orvel {

/// Puts values into a message between the library and a worker.
class MessageWriter {
 public:
  template <class Number>
  void number(Number value) {
    static_assert(std::is_arithmetic_v<Number>);
    message.append(reinterpret_cast<const char*>(&value), sizeof value);
  }

  /// Writes the length of `text` and its bytes.
  void bytes(std::string_view text) {
    number(static_cast<std::uint32_t>(text.size()));
    message.append(text);
  }

  std::string message;
};

}  // namespace orvel
