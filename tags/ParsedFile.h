#pragma once

#include <exception>
#include <optional>

#include "tags/TagResult.h"

namespace orvel {

/// What became of one file: a result, or the exception of the parser.
struct ParsedFile {
  std::optional<TagResult> result;
  std::exception_ptr error;
  bool wasLate = false;  ///< its time was up before the parser had all that it asked for

  /// True when the device or the parser is in difficulties with the file, or the stage was stopped.
  [[nodiscard]] bool isTroubled() const {
    using Outcome = TagResult::Outcome;
    return wasLate || (result && (result->outcome == Outcome::DeviceFailed ||
                                  result->outcome == Outcome::Interrupted));
  }
};

}  // namespace orvel
