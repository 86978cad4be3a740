#pragma once

#include <unistd.h>

#include <utility>

namespace orvel {

/// Owns a file descriptor and closes it.
class Descriptor {
 public:
  /// Owns nothing.
  Descriptor() = default;
  /// Takes ownership of `opened`; a negative number means none.
  explicit Descriptor(int opened) : number(opened) {}
  ~Descriptor() { reset(); }
  Descriptor(Descriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number, other.number);
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  [[nodiscard]] int get() const { return number; }
  /// Gives up ownership.
  [[nodiscard]] int release() { return std::exchange(number, -1); }
  explicit operator bool() const { return number >= 0; }

  void reset() {
    if (number >= 0) close(std::exchange(number, -1));
  }

 private:
  int number = -1;
};

}  // namespace orvel
