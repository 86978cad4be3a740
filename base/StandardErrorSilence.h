#pragma once

namespace orvel {

/// Discards everything written to std::cerr while at least one instance exists. Any thread may
/// create one; miners on several threads do not wait for each other.
class StandardErrorSilence {
 public:
  StandardErrorSilence();
  ~StandardErrorSilence();
  StandardErrorSilence(const StandardErrorSilence&) = delete;
  StandardErrorSilence& operator=(const StandardErrorSilence&) = delete;
};

}  // namespace orvel
