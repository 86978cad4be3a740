#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace orvel {

/// Takes values off a message between the library and a worker. Returns empty values from the first
/// missing one on. The message must outlive the parser and the views that it returns.
class MessageParser {
 public:
  explicit MessageParser(std::string_view message) : rest(message) {}

  template <class Number>
  Number number() {
    Number value{};
    const std::string_view taken = take(sizeof value);
    if (!taken.empty()) std::memcpy(&value, taken.data(), sizeof value);
    return value;
  }

  /// A text with its length before it.
  std::string_view bytes() { return take(number<std::uint32_t>()); }

  std::string_view take(std::size_t count) {
    failed = failed || count > rest.size();
    if (failed) return {};
    const std::string_view taken = rest.substr(0, count);
    rest.remove_prefix(count);
    return taken;
  }

  /// True when every value was there and no byte is left.
  [[nodiscard]] bool isDone() const { return !failed && rest.empty(); }

 private:
  std::string_view rest;
  bool failed = false;
};

}  // namespace orvel
