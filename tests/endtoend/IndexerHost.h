#pragma once

#include <gtest/gtest.h>
#include <orvel/Orvel.h>
#include <orvel/OrvelQTProxy.h>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "phones/DeviceTypes.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/MainLoopThread.h"

namespace orvel::test {

/// A host as a product has one: a controller behind the facade, a main loop on which playlists are
/// parsed, receivers of all signals, and a stick in a temporary folder.
class IndexerHost : public DatabaseFolderFixture {
 protected:
  IndexerHost();
  ~IndexerHost() override;

  /// Starts a request and waits until none is alive.
  void index(const std::string& device, const std::string& mountPoint, bool isFirst = true);
  void start(const std::string& device, const std::string& mountPoint, bool isFirst = true);
  /// The same for a phone, with the device id "phone1".
  void indexPhone(t_handle handle);
  void startPhone(t_handle handle);
  /// Stops the controller and puts a new one in its place.
  void renewController();
  /// False when requests are still alive after `seconds`.
  bool waitUntilIdle(int seconds = 120);

  /// Runs `call` on the thread of the main loop, as a host's slots run, and waits for its end;
  /// false when it takes longer than `limit`.
  static bool onMainLoop(std::function<void()> call,
                         std::chrono::seconds limit = std::chrono::seconds(120));

  /// The signals since the last call, in the order of their arrival, as "name argument...".
  std::vector<std::string> takeSignals();
  /// The mount points of the requests that have ended since the last call of either.
  std::vector<std::string> takeFinished();

  /// Everything that the database of a device holds, row ids included.
  static std::vector<std::string> everything(const std::string& device);

  ProgressSnapshot progress() const { return *controller->progressOf(stick); }

  const std::string stick = temporary.folder("stick");
  std::unique_ptr<Orvel> controller = std::make_unique<Orvel>();

 private:
  void remember(const std::string& signal);

  MainLoopThread mainLoop;
  QObject receiver;
  std::mutex mutex;
  std::vector<std::string> received;
};

}  // namespace orvel::test
