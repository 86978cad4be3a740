#include "framework/HostListener.h"

#include "base/NoDestructor.h"

namespace orvel {

HostListener& HostListener::none() {
  // Never destroyed: stage threads may report until the process ends.
  static NoDestructor<HostListener> silent;
  return *silent;
}

}  // namespace orvel
