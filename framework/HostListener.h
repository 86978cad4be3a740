#pragma once

#include <string>

namespace orvel {

/// Receives the indexer's reports to its host. Handed to the controller, which hands it to every
/// pipeline and stage, and outlives them. Each call may come from any thread and must not throw.
class HostListener {
 public:
  HostListener() = default;
  virtual ~HostListener() = default;
  HostListener(const HostListener&) = delete;
  HostListener& operator=(const HostListener&) = delete;

  virtual void crawlingFinished(const std::string& /*mountPoint*/) noexcept {}
  virtual void indexingFinished(const std::string& /*mountPoint*/) noexcept {}
  virtual void contentModified(const std::string& /*mountPoint*/) noexcept {}
  virtual void databaseExists(const std::string& /*deviceId*/,
                              const std::string& /*mountPoint*/) noexcept {}

  /// The listener of stages without a host: ignores every report.
  static HostListener& none();
};

}  // namespace orvel
