#include "framework/HostListener.h"

namespace orvel {

HostListener& HostListener::none() {
  // Never destroyed: stage threads may report until the process ends.
  static auto* const silent = new HostListener;
  return *silent;
}

}  // namespace orvel
