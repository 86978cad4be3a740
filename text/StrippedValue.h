#pragma once

#include <string>
#include <utility>

namespace orvel {

/// A tag value that is ready to be stored: a result of `trim`, or empty.
class StrippedValue {
 public:
  /// The empty value.
  StrippedValue() = default;
  explicit StrippedValue(std::string trimmed) : value(std::move(trimmed)) {}

  [[nodiscard]] const std::string& text() const { return value; }

 private:
  std::string value;
};

}  // namespace orvel
