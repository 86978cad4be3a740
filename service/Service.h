#pragma once

#include <gio/gio.h>
#include <orvel/AttachedDevices.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "base/GlibPointers.h"
#include "hotplug/MediaMonitor.h"
#include "hotplug/Phones.h"
#include "service/Browsing.h"
#include "service/Configuration.h"
#include "service/DeviceObject.h"
#include "service/Indexing.h"
#include "service/ManagerObject.h"
#include "service/Timer.h"
#include "service/Watchdog.h"

namespace orvel::service {

/// The service on a bus: devices come from hot plug, from clients and from the databases of earlier
/// runs; requests go to the indexer; both sides see the result. Main loop only.
class Service : private IndexingListener, private DeviceCalls, private ManagerCalls {
 public:
  /// @param reading   the configuration, whose settings the library has already
  /// @param quitCall  called when there is nothing left to do (`Configuration::idleExit`)
  Service(GDBusConnection* bus, ConfigurationReading reading, std::function<void()> quitCall);
  ~Service() override;
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  /// Begins to look for devices. Call it once the bus name is owned.
  void watchDevices();

  /// True while something is to be indexed.
  [[nodiscard]] bool isBusy() const { return !indexing.isIdle(); }

 private:
  /// A device on the bus, and as the indexer needs it.
  struct Device {
    Device(GDBusObjectManagerServer* server, DeviceFacts facts, DeviceCalls& calls)
        : object(server, std::move(facts), calls) {}

    DeviceObject object;
    IndexTarget target;
    bool isBeingExamined = false;
    bool hasEnded = false;  ///< Finished is to be told once the result was examined
    bool mustBeExaminedAgain = false;
  };

  /// How a device is attached.
  struct Attachment {
    OperationType type = OperationType::MassStorage;
    t_device_handle handle = 0;
    std::vector<std::string> mountPoints;
    bool isLocked = false;
    std::string problem;
  };

  // Hot plug.
  void showMedium(const hotplug::Medium& medium);
  void removeMedium(const std::string& mediumId);
  void attachStick(const hotplug::Medium& stick);
  void changeStick(Device& device, const hotplug::Medium& stick);
  void phoneAttached(const AttachedDevice& phone);
  void phoneChanged(const AttachedDevice& phone);
  void phoneRemoved(const AttachedDevice& phone);
  void detached(const std::string& deviceId);
  void databaseFound(const std::string& database, const DatabaseContents& contents);

  // IndexingListener
  void indexingProgressed(const std::string& deviceId) override;
  void listIsReady(const std::string& deviceId) override;
  void foldersAreComplete(const std::string& deviceId) override;
  void indexingEnded(const std::string& deviceId) override;

  // DeviceCalls
  void rescan(DeviceObject& device) override;
  void stop(DeviceObject& device) override;
  void list(GDBusMethodInvocation* call, DeviceObject& device, const char* kind, GVariant* filter,
            const browse::PageRequest& page) override;
  void search(GDBusMethodInvocation* call, DeviceObject& device, const char* words,
              const char* const* kinds, const browse::PageRequest& page) override;

  // ManagerCalls
  void index(GDBusMethodInvocation* call, const IndexCall& wanted) override;
  void forget(const std::string& path) override;
  void prioritize(const std::string& path) override;
  void setPaused(bool isPaused) override;
  void wasCalled() override;

  /// Shows a device, whether it is known already or not; one that is not attached without an
  /// attachment.
  Device& appear(const std::string& deviceId, const char* kind, const std::string& name,
                 const std::optional<Attachment>& attachment);
  [[nodiscard]] Device* find(const std::string& deviceId);
  /// Throws BusError.
  Device& deviceAt(const std::string& path);
  Device* attachedWith(const std::string& mountPoint);
  /// Throws BusError when the folder cannot be indexed under this id now.
  void requireAvailable(const std::string& deviceId, const std::string& mountPoint);
  std::string indexFolder(const IndexCall& wanted, const std::string& mountPoint);
  void begin(Device& device);
  void setMountPoints(Device& device, const std::vector<std::string>& mountPoints);
  void examine(Device& device);
  void show(Device& device, const DatabaseContents& contents);
  /// Something is done, or has been done.
  void noteActivity();

  const GlibObject<GDBusObjectManagerServer> objects;
  const ConfigurationReading reading;
  const std::function<void()> quit;
  /// Generations go on rising over restarts.
  std::uint64_t lastGeneration;
  std::map<std::string, std::unique_ptr<Device>> devices;        ///< by id
  std::map<std::string, std::set<std::string>> devicesOfMedium;  ///< their ids
  unsigned foldersUnderWay = 0;  ///< that clients named and that are being looked at
  std::string selected;          ///< a device id, or empty
  Browsing browsing;
  Indexing indexing;
  ManagerObject manager;
  Timer idleTimer;
  Watchdog watchdog;
  std::unique_ptr<hotplug::MediaMonitor> media;
  std::unique_ptr<hotplug::Phones> phones;
};

}  // namespace orvel::service
