#pragma once

#include "base/Mutex.h"
#include "base/NoDestructor.h"
#include "framework/HostListener.h"

class OrvelQTProxy;

namespace orvel {

/// Emits the indexer's reports as signals of the facade. One instance per process, never destroyed:
/// the facade is a function-local static, so at the end of the process it may go while stage
/// threads still report. A report without a facade is dropped.
class FacadeListener : public HostListener {
 public:
  static FacadeListener& instance();

  void crawlingFinished(const std::string& mountPoint) noexcept override;
  void indexingFinished(const std::string& mountPoint) noexcept override;
  void contentModified(const std::string& mountPoint) noexcept override;
  void databaseExists(const std::string& deviceId, const std::string& mountPoint) noexcept override;

  /// The facade was constructed: the first one emits the signals from now on.
  void facadeBegan(OrvelQTProxy* constructed);
  /// The facade is about to go; waits for the emissions of other threads.
  void facadeEnds(OrvelQTProxy* destroyed) noexcept;

 private:
  friend class NoDestructor<FacadeListener>;

  class Emission;

  FacadeListener() = default;
  template <class Emit>
  void emitOnFacade(Emit emitSignal) noexcept;

  Mutex mutex;
  Condition emissionEnded;
  OrvelQTProxy* facade ORVEL_GUARDED_BY(mutex) = nullptr;
  int emissions ORVEL_GUARDED_BY(mutex) = 0;  ///< under way, of all threads
};

}  // namespace orvel
