#pragma once

#include <gio/gio.h>
#include <orvel/ProgressSnapshot.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/GlibPointers.h"
#include "browse/MediaDatabase.h"
#include "browse/Pages.h"
#include "service/Timer.h"
#include "service/orvelBus.h"

namespace orvel::service {

class DeviceObject;

/// The facts about a device that the bus shows.
struct DeviceFacts {
  std::string id;
  std::string kind;  ///< "stick", "phone" or "folder"
  std::string name;  ///< for people
  bool isAttached = false;
  bool isLocked = false;
  std::vector<std::string> mountPoints;
  std::string state = "idle";
  std::string status;   ///< "OK", "PROGRESS" or empty
  std::string problem;  ///< for people
  std::string databasePath;
  std::uint64_t generation = 0;
  browse::Totals totals;
  unsigned songsFound = 0;
  unsigned songsToRead = 0;
  unsigned songsRead = 0;
  bool isLimitReached = false;
  bool isIsolated = true;
  std::string confinement;
  std::vector<std::string> leftUndone;
};

/// Carries the calls of a device's clients out, and may throw.
class DeviceCalls {
 public:
  virtual ~DeviceCalls() = default;

  virtual void rescan(DeviceObject& device) = 0;
  virtual void stop(DeviceObject& device) = 0;
  /// Answers a call of List.
  virtual void list(GDBusMethodInvocation* call, DeviceObject& device, const char* kind,
                    GVariant* filter, const browse::PageRequest& page) = 0;
  /// Answers a call of Search.
  virtual void search(GDBusMethodInvocation* call, DeviceObject& device, const char* words,
                      const char* const* kinds, const browse::PageRequest& page) = 0;
  /// A client has called something.
  virtual void wasCalled() = 0;
};

/// A device on the bus, from construction to destruction. Main loop only.
class DeviceObject {
 public:
  /// @param server  where the object appears; must outlive it, as must `calls`
  DeviceObject(GDBusObjectManagerServer* server, DeviceFacts initial, DeviceCalls& calls);
  ~DeviceObject();
  DeviceObject(const DeviceObject&) = delete;
  DeviceObject& operator=(const DeviceObject&) = delete;

  /// The object path for a device id.
  static std::string pathOf(const std::string& deviceId);

  [[nodiscard]] const std::string& path() const { return objectPath; }

  DeviceFacts facts;

  /// Sets the properties to `facts`, and tells of the changes at most once a second.
  void publish();
  /// The same, and tells of them now.
  void publishAtOnce();

  void emitListReady();
  void emitFoldersComplete();
  /// Emits Finished after the next notice of changes.
  void emitFinished();

 private:
  void connect();
  void setProperties();
  /// Tells of changed properties.
  void notify();

  const std::string objectPath;
  GDBusObjectManagerServer* const objects;
  DeviceCalls& owner;
  GlibObject<OrvelBusDevice> device;
  GlibObject<OrvelBusBrowser> browser;
  std::chrono::steady_clock::time_point lastNotice;
  bool hasFinished = false;
  Timer laterNotice;
};

}  // namespace orvel::service
