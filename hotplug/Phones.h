#pragma once

#include <orvel/AttachedDevices.h>

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "base/GlibSource.h"
#include "hotplug/PhoneMonitor.h"

namespace orvel::hotplug {

/// Tells which phones and players come and go. Belongs to the thread that made it, and reports on
/// its main context; that thread never waits for a phone. While a phone is locked, looks at it
/// every two seconds.
class Phones {
 public:
  /// The receivers of reports. They must not destroy the object.
  struct Events {
    /// A phone that is opened at last is reported again, after `removed`: its id is another then,
    /// because only an open phone tells its serial number.
    std::function<void(const AttachedDevice&)> attached;
    /// A phone was unlocked or locked.
    std::function<void(const AttachedDevice&)> changed;
    /// The phone has gone. The library knows already, so its requests end.
    std::function<void(const AttachedDevice&)> removed;
  };

  /// Reports the phones that are there already once they have answered.
  explicit Phones(Events receivers);
  ~Phones();
  Phones(const Phones&) = delete;
  Phones& operator=(const Phones&) = delete;

  /// Looks for phones now, beyond the looks that notices of the system cause.
  void look();

 private:
  using Listing = std::map<t_handle, AttachedDevice>;
  struct Finding;

  static Finding list();
  void receive(const Finding& finding);
  void report(Listing listing);
  bool isAny(bool (*is)(const AttachedDevice&)) const;

  Events events;
  PhoneMonitor monitor;
  Listing known;
  bool isLooking = false;
  bool mustLookAgain = false;
  unsigned retries = 0;  ///< since the last notice
  std::string toldError;
  GlibSource nextLook;
  /// Tells a look that outlives this object that it is gone.
  std::shared_ptr<Phones*> self;
};

}  // namespace orvel::hotplug
