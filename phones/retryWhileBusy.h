#pragma once

#include "base/StageThread.h"
#include "phones/DeviceLimits.h"
#include "phones/DeviceTypes.h"

namespace orvel {

/// Repeats `call` while it answers STATUS_BUSY, within the limits of DeviceLimits.h, and calls
/// `beforePause` with the number of the coming repetition, from 1 on. Returns the last status:
/// STATUS_BUSY when the repetitions are spent or the calling stage was stopped.
template <class Call, class BeforePause>
t_status retryWhileBusy(Call call, BeforePause beforePause) {
  t_status status = call();
  for (int retry = 1; status == STATUS_BUSY && retry <= kBusyRetries; ++retry) {
    beforePause(retry);
    if (!stageThread::sleep(kBusyPause)) break;
    status = call();
  }
  return status;
}

}  // namespace orvel
