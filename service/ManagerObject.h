#pragma once

#include <gio/gio.h>

#include <optional>
#include <string>
#include <vector>

#include "base/GlibPointers.h"
#include "service/Pauses.h"
#include "service/orvelBus.h"

namespace orvel::service {

/// The arguments of Index.
struct IndexCall {
  std::string mountPoint;
  std::optional<std::string> deviceId;
  std::optional<std::string> name;
};

/// Carries the manager's calls out, and may throw. Devices are named by their object paths.
class ManagerCalls {
 public:
  virtual ~ManagerCalls() = default;

  /// Calls `orvel_bus_manager_complete_index`, or refuses the call, sooner or later.
  virtual void index(GDBusMethodInvocation* call, const IndexCall& wanted) = 0;
  virtual void forget(const std::string& path) = 0;
  /// @param path  "/" for no device
  virtual void prioritize(const std::string& path) = 0;
  virtual void setPaused(bool isPaused) = 0;
  /// A client has called something.
  virtual void wasCalled() = 0;
};

/// The properties of the manager that stay as they are.
struct ManagerFacts {
  std::string databaseDirectory;
  bool autoIndex = true;
  std::string region;
  std::vector<std::string> problems;
};

/// The manager on the bus. Main loop only.
class ManagerObject {
 public:
  static constexpr char kPath[] = "/org/orvel/Indexer1";

  /// @param calls  must outlive this object. Throws std::runtime_error when the path is taken.
  ManagerObject(GDBusConnection* bus, const ManagerFacts& facts, ManagerCalls& calls);
  ~ManagerObject();
  ManagerObject(const ManagerObject&) = delete;
  ManagerObject& operator=(const ManagerObject&) = delete;

  void setSelected(const std::string& path);
  [[nodiscard]] bool isPaused() const { return !pauses.areNone(); }

 private:
  void connect();
  void publishPauses();

  ManagerCalls& owner;
  GlibObject<OrvelBusManager> manager;
  Pauses pauses;
};

}  // namespace orvel::service
