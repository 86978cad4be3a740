#pragma once

#include <ostream>
#include <string_view>

#include "tests/support/Effort.h"

namespace orvel::test {

// Ends of a worker, as the log tells them.
constexpr std::string_view kFiltered = "signal 31";
constexpr std::string_view kOutOfMemory = "exit status 3";
constexpr std::string_view kTooLate = "no answer in time";

/// An action of a worker that a file has taken over.
struct Deed {
  std::string_view name;
  std::string_view end;        ///< its end, as the log tells it
  bool isSafe = kIsSanitized;  ///< a sanitizer's run-time library may do it
};

inline void PrintTo(const Deed& deed, std::ostream* out) {
  *out << deed.name;
}

}  // namespace orvel::test
