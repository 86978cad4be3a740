#include "framework/HostSignals.h"
#include "base/retryOnBadAlloc.h"

#include <exception>

#include "base/Log.h"
#include "base/Mutex.h"
#include "qt/FacadeLife.h"
#include "qt/OrvelQTProxy.h"

namespace orvel {

namespace {

/// The facade and how many emissions are under way on it. Never destroyed, since it is asked until
/// the last thread has ended.
struct Life {
  Mutex mutex;
  Condition emissionEnded;
  OrvelQTProxy* facade ORVEL_GUARDED_BY(mutex) = nullptr;
  int emissions ORVEL_GUARDED_BY(mutex) = 0;
};

Life& life() {
  static auto* const state = new Life;
  return *state;
}

/// Emissions under way on this thread: a receiver may end the process from within one.
thread_local int ownEmissions = 0;

/// Keeps the facade alive for one emission.
class Emission {
 public:
  Emission() {
    const MutexLock lock(life().mutex);
    target = life().facade;
    if (target == nullptr) return;
    ++life().emissions;
    ++ownEmissions;
  }
  ~Emission() {
    if (target == nullptr) return;
    const MutexLock lock(life().mutex);
    --life().emissions;
    --ownEmissions;
    life().emissionEnded.broadcast();
  }
  Emission(const Emission&) = delete;
  Emission& operator=(const Emission&) = delete;

  [[nodiscard]] OrvelQTProxy* facade() const { return target; }

 private:
  OrvelQTProxy* target = nullptr;
};

QString text(const std::string& bytes) {
  return QString::fromStdString(bytes);
}

template <class Emit>
void emitOnFacade(Emit emitSignal) noexcept {
  try {
    const Emission emission;
    // A receiver may get a signal twice, but none waits for ever for one that memory was short for.
    if (emission.facade() != nullptr) retryOnBadAlloc([&] { emitSignal(*emission.facade()); });
  } catch (const std::exception& error) {
    OV_ERROR("a signal to the host was lost: %s", error.what());
  }
}

}  // namespace

void facadeLife::began(OrvelQTProxy* facade) {
  Life& state = life();
  const MutexLock lock(state.mutex);
  if (state.facade == nullptr) state.facade = facade;
}

void facadeLife::ended(OrvelQTProxy* facade) noexcept {
  Life& state = life();
  const MutexLock lock(state.mutex);
  if (state.facade != facade) return;
  state.facade = nullptr;
  while (state.emissions > ownEmissions) state.emissionEnded.wait(state.mutex);
}

void hostSignals::crawlingFinished(const std::string& mountPoint) noexcept {
  emitOnFacade([&](OrvelQTProxy& facade) { Q_EMIT facade.crawlingFinished(text(mountPoint)); });
}

void hostSignals::indexingFinished(const std::string& mountPoint) noexcept {
  emitOnFacade([&](OrvelQTProxy& facade) { Q_EMIT facade.indexingFinished(text(mountPoint)); });
}

void hostSignals::contentModified(const std::string& mountPoint) noexcept {
  emitOnFacade([&](OrvelQTProxy& facade) { Q_EMIT facade.contentModified(text(mountPoint)); });
}

void hostSignals::databaseExists(const std::string& deviceId,
                                 const std::string& mountPoint) noexcept {
  emitOnFacade([&](OrvelQTProxy& facade) {
    Q_EMIT facade.databaseExists(text(deviceId), text(mountPoint));
  });
}

}  // namespace orvel
