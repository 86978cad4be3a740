#include "framework/Runnable.h"

namespace orvel {

void* runner(void* runnable) {
  static_cast<Runnable*>(runnable)->runLoop();
  return nullptr;
}

}  // namespace orvel
