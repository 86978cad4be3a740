#pragma once

#include <condition_variable>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "phones/scripted/MediaIndex.h"
#include "phones/scripted/ScriptedDevice.h"

namespace orvel::scripted {

/// The requests to a device since it was plugged in.
struct Journal {
  unsigned calls = 0;  ///< of the library
  /// How often, by the names of calls of the library and of functions of DeviceSession.
  std::map<std::string, unsigned> counts;
};

/// A described device from when it is plugged in until it is pulled out. Any thread.
class LiveDevice {
 public:
  /// `objectIds` are those of an earlier connection of the device, if it keeps them.
  LiveDevice(std::string busPath, ScriptedDevice description, ObjectIds objectIds);

  /// The effect of a fault on an operation.
  struct Outcome {
    t_status status = STATUS_OK;
    std::optional<std::uint32_t> items;  ///< at most so many; without a value all
  };

  /// Notes a call of the library; anything but STATUS_OK is its answer.
  t_status enterCall(const std::string& name);
  /// Notes a function of DeviceSession that concerns an object, and waits while a fault blocks it.
  Outcome perform(const std::string& function, std::optional<t_track_id> object);
  /// The fault at a count or a page of a container, if any.
  std::optional<std::uint32_t> itemsOf(const char* where, const t_mtp_container& container);

  [[nodiscard]] const std::string& path() const { return busPath; }
  /// Its current description and contents.
  [[nodiscard]] std::shared_ptr<const MediaIndex> media() const;

  [[nodiscard]] bool isPresent() const;
  /// Pulls it out. Waiting operations end; it can still be asked about.
  void remove();
  /// Replaces the description: objects keep their ids, faults count from the start.
  void update(ScriptedDevice description);
  /// Lets blocked calls go on.
  void release();
  [[nodiscard]] unsigned blocked() const;
  [[nodiscard]] Journal journal() const;
  [[nodiscard]] ObjectIds objectIds() const;
  /// The id of the first object with this path; throws std::out_of_range when there is none.
  [[nodiscard]] t_track_id idOf(const std::string& objectPath) const;

 private:
  struct Planned {
    Fault fault;
    unsigned seen = 0;  ///< how many calls it concerned
  };

  /// Counts a call in every fault that concerns it, and returns the first fault that happens now.
  /// Calls of the library have no `path`; faults at any call concern these alone.
  std::optional<Fault> nextFault(const std::string& where, const std::optional<std::string>& path)
      ORVEL_REQUIRES(mutex);
  t_status suffer(const Fault& fault) ORVEL_REQUIRES(mutex);
  t_status block(std::chrono::milliseconds bound) ORVEL_REQUIRES(mutex);
  void leave() ORVEL_REQUIRES(mutex);

  const std::string busPath;
  mutable Mutex mutex;
  std::condition_variable_any changed;
  bool present ORVEL_GUARDED_BY(mutex) = true;
  unsigned waiting ORVEL_GUARDED_BY(mutex) = 0;
  unsigned releases ORVEL_GUARDED_BY(mutex) = 0;
  ObjectIds ids ORVEL_GUARDED_BY(mutex);
  std::shared_ptr<const MediaIndex> current ORVEL_GUARDED_BY(mutex);
  std::vector<Planned> faults ORVEL_GUARDED_BY(mutex);
  Journal notes ORVEL_GUARDED_BY(mutex);
};

}  // namespace orvel::scripted
