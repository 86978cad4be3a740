#include "qt/FacadeListener.h"

#include <orvel/OrvelQTProxy.h>

#include <exception>

#include "base/Log.h"
#include "base/NoDestructor.h"
#include "base/retryOnBadAlloc.h"

namespace orvel {

namespace {

/// Emissions under way on this thread: a receiver may end the process from within one.
thread_local int ownEmissions = 0;

QString text(const std::string& bytes) {
  return QString::fromStdString(bytes);
}

}  // namespace

/// Keeps the facade alive for one emission.
class FacadeListener::Emission {
 public:
  explicit Emission(FacadeListener& emitting) : listener(emitting) {
    const MutexLock lock(listener.mutex);
    target = listener.facade;
    if (target == nullptr) return;
    ++listener.emissions;
    ++ownEmissions;
  }
  ~Emission() {
    if (target == nullptr) return;
    const MutexLock lock(listener.mutex);
    --listener.emissions;
    --ownEmissions;
    listener.emissionEnded.broadcast();
  }
  Emission(const Emission&) = delete;
  Emission& operator=(const Emission&) = delete;

  [[nodiscard]] OrvelQTProxy* facade() const { return target; }

 private:
  FacadeListener& listener;
  OrvelQTProxy* target = nullptr;
};

FacadeListener& FacadeListener::instance() {
  static NoDestructor<FacadeListener> listener;
  return *listener;
}

template <class Emit>
void FacadeListener::emitOnFacade(Emit emitSignal) noexcept {
  try {
    const Emission emission(*this);
    // A receiver may get a signal twice; a lost signal would leave it waiting for ever.
    if (emission.facade() != nullptr) retryOnBadAlloc([&] { emitSignal(*emission.facade()); });
  } catch (const std::exception& error) {
    OV_ERROR("a signal to the host was lost: %s", error.what());
  }
}

void FacadeListener::facadeBegan(OrvelQTProxy* constructed) {
  const MutexLock lock(mutex);
  if (facade == nullptr) facade = constructed;
}

void FacadeListener::facadeEnds(OrvelQTProxy* destroyed) noexcept {
  const MutexLock lock(mutex);
  if (facade != destroyed) return;
  facade = nullptr;
  while (emissions > ownEmissions) emissionEnded.wait(mutex);
}

void FacadeListener::crawlingFinished(const std::string& mountPoint) noexcept {
  emitOnFacade([&](OrvelQTProxy& facade) { Q_EMIT facade.crawlingFinished(text(mountPoint)); });
}

void FacadeListener::indexingFinished(const std::string& mountPoint) noexcept {
  emitOnFacade([&](OrvelQTProxy& facade) { Q_EMIT facade.indexingFinished(text(mountPoint)); });
}

void FacadeListener::contentModified(const std::string& mountPoint) noexcept {
  emitOnFacade([&](OrvelQTProxy& facade) { Q_EMIT facade.contentModified(text(mountPoint)); });
}

void FacadeListener::databaseExists(const std::string& deviceId,
                                    const std::string& mountPoint) noexcept {
  emitOnFacade([&](OrvelQTProxy& facade) {
    Q_EMIT facade.databaseExists(text(deviceId), text(mountPoint));
  });
}

}  // namespace orvel
