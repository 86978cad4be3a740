#pragma once

#include <string>

#include "phones/DeviceTypes.h"

namespace orvel::cli {

/// Starts requests for one device through the facade.
class IndexSource {
 public:
  IndexSource() = default;
  virtual ~IndexSource() = default;
  IndexSource(const IndexSource&) = delete;
  IndexSource& operator=(const IndexSource&) = delete;

  /// Starts indexing a partition of the device.
  virtual void start(const std::string& deviceId, const std::string& mountPoint,
                     bool isFirstPartition) = 0;
  /// Called several times a second while the request is alive, never afterwards.
  virtual void attend() {}
};

/// A mounted stick.
class StickSource : public IndexSource {
 public:
  void start(const std::string& deviceId, const std::string& mountPoint,
             bool isFirstPartition) override;
};

/// An attached phone or player; reports to the indexer that it is ready, or unplugged.
class PhoneSource : public IndexSource {
 public:
  explicit PhoneSource(t_handle deviceHandle) : handle(deviceHandle) {}

  /// The mount point that the indexer uses for a phone.
  static std::string mountPointOf(const std::string& deviceId);

  void start(const std::string& deviceId, const std::string& mountPoint,
             bool isFirstPartition) override;
  void attend() override;

 private:
  t_handle handle;
  bool isGone = false;
};

}  // namespace orvel::cli
