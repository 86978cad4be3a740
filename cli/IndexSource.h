#pragma once

#include <string>

#include "phones/DeviceTypes.h"

namespace orvel::cli {

/// How one device is indexed through the facade.
class IndexSource {
 public:
  IndexSource() = default;
  virtual ~IndexSource() = default;
  IndexSource(const IndexSource&) = delete;
  IndexSource& operator=(const IndexSource&) = delete;

  /// Has a partition of the device indexed.
  virtual void start(const std::string& deviceId, const std::string& mountPoint,
                     bool isFirstPartition) = 0;
  /// Called several times a second while the request is alive, and never afterwards.
  virtual void attend() {}
};

/// A mounted stick.
class StickSource : public IndexSource {
 public:
  void start(const std::string& deviceId, const std::string& mountPoint,
             bool isFirstPartition) override;
};

/// An attached phone or player: tells the indexer that it is ready, and when it was pulled out.
class PhoneSource : public IndexSource {
 public:
  explicit PhoneSource(t_handle deviceHandle) : handle(deviceHandle) {}

  /// What the indexer calls the mount point of a phone.
  static std::string mountPointOf(const std::string& deviceId);

  void start(const std::string& deviceId, const std::string& mountPoint,
             bool isFirstPartition) override;
  void attend() override;

 private:
  t_handle handle;
  bool isGone = false;
};

}  // namespace orvel::cli
