#include "phones/scripted/FaultPlan.h"

namespace orvel::scripted {

FaultPlan::FaultPlan(const std::vector<Fault>& faults) {
  for (const Fault& fault : faults) plan.push_back({fault});
}

/// Every fault counts on its own, also behind one that happens.
template <class Concerns>
const Fault* FaultPlan::count(Concerns concerns) {
  const Fault* happens = nullptr;
  for (Planned& planned : plan) {
    const Fault& fault = planned.fault;
    if (!concerns(fault)) continue;
    const unsigned number = ++planned.seen;
    const bool isDue = number >= fault.from && number - fault.from < fault.times;
    if (isDue && happens == nullptr) happens = &fault;
  }
  return happens;
}

const Fault* FaultPlan::next(const std::string& where, const std::string& path) {
  return count([&](const Fault& fault) {
    return fault.at == where && (fault.path.empty() || fault.path == path);
  });
}

const Fault* FaultPlan::nextCall(const std::string& name) {
  return count([&](const Fault& fault) { return fault.at == kAtAnyCall || fault.at == name; });
}

}  // namespace orvel::scripted
