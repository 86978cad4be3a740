#pragma once

#include <string>
#include <utility>
#include <vector>

#include "phones/scripted/ScriptedDevice.h"

namespace orvel::scripted {

/// Decides call by call which fault happens. Not safe against concurrent use.
class FaultPlan {
 public:
  explicit FaultPlan(const std::vector<Fault>& faults);

  /// Counts a call at `where` that concerns the object with `path`, and returns the first fault
  /// that happens now; null for none. Holds until the plan changes.
  const Fault* next(const std::string& where, const std::string& path);
  /// Counts a call of the library, which faults at any call concern, too.
  const Fault* nextCall(const std::string& name);

 private:
  struct Planned {
    Fault fault;
    unsigned seen = 0;  ///< how many calls it concerned
  };

  template <class Concerns>
  const Fault* count(Concerns concerns);

  std::vector<Planned> plan;
};

}  // namespace orvel::scripted
