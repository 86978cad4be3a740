#pragma once

#include <orvel/Runnable.h>

#include <condition_variable>
#include <mutex>
#include <semaphore>
#include <stop_token>
#include <string>
#include <thread>

namespace orvel {

/// Looks through a whole database for damage beside the first stages of a request, on a thread and
/// a connection of its own. Finding nothing counts when nobody has committed anything between the
/// beginning of the check and the question for its result.
///
/// The owner makes the life-cycle calls; `start` has no effect before `prepare`.
class DatabaseCheck : public Runnable {
 public:
  DatabaseCheck() = default;
  /// The owner has stopped and joined it, or asked for the result.
  ~DatabaseCheck() override;

  /// Names the database, for the next `start`.
  void prepare(std::string databaseFile);
  /// Begins the check, once, where a second core can carry it; otherwise there is no result.
  void start() override;
  void launch() override {}
  void pause() override {}
  /// Ends the check without a result, from any thread: the request was stopped, or is about to
  /// change the database.
  void stop() override { cancellation.request_stop(); }
  void join() override;
  bool hasEndedBy(Deadline deadline) override;
  void runLoop() override;

  /// Waits for the end of the check, and closes its connection. True when the database is sound as
  /// it is now. On one thread, before `join`.
  [[nodiscard]] bool confirms();

 private:
  void check();
  /// Waits for the question; false when the check was stopped.
  bool isAsked();

  std::string file;
  bool begun = false;
  std::stop_source cancellation;
  std::mutex mutex;
  std::condition_variable_any question;
  bool asked = false;  ///< guarded by `mutex`
  bool isSound = false;
  std::binary_semaphore ended{0};
  std::thread thread;
};

}  // namespace orvel
