#pragma once

namespace orvel {

/// Sends everything written to std::cerr into a null stream while at least one instance lives,
/// whichever thread made it: two miners may read tags at once, and none waits for the other.
class StandardErrorSilence {
 public:
  StandardErrorSilence();
  ~StandardErrorSilence();
  StandardErrorSilence(const StandardErrorSilence&) = delete;
  StandardErrorSilence& operator=(const StandardErrorSilence&) = delete;
};

}  // namespace orvel
