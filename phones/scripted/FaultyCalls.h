#pragma once

#include <algorithm>
#include <memory>
#include <utility>

#include "phones/scripted/InterceptedCalls.h"
#include "phones/scripted/LiveDevice.h"

namespace orvel::scripted {

/// The calls to a described device, with the faults that its description holds.
class FaultyCalls : public InterceptedCalls {
 public:
  FaultyCalls(Device& calledDevice, std::shared_ptr<LiveDevice> described)
      : InterceptedCalls(calledDevice), live(std::move(described)) {}

 private:
  t_status enterCall(const char* name) override { return live->enterCall(name); }
  std::uint32_t countItems(const t_mtp_container& of, std::uint32_t present) override {
    return live->itemsOf(kAtCount, of).value_or(present);
  }
  std::uint32_t pageItems(const t_mtp_container& of, std::uint32_t present) override {
    return std::min(live->itemsOf(kAtPage, of).value_or(present), present);
  }

  const std::shared_ptr<LiveDevice> live;
};

}  // namespace orvel::scripted
