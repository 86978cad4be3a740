#pragma once

#include <array>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace orvel::cli {

/// Sums up the warnings about single files and folders, of which a stick may cause thousands.
/// Any thread.
class LogDigest {
 public:
  /// True if `text` is such a warning, or repeats a line of the run's summary.
  bool take(std::string_view text);

  /// A line for people for each kind of warning that came.
  [[nodiscard]] std::vector<std::string> lines() const;

 private:
  struct Kind {
    std::size_t count = 0;
    std::vector<std::string> names;  ///< of the first ones
  };

  mutable std::mutex mutex;
  std::array<Kind, 3> kinds;
};

}  // namespace orvel::cli
