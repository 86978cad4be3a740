#pragma once

#include <orvel/Export.h>
#include <orvel/OperationType.h>
#include <orvel/ProgressSnapshot.h>
#include <orvel/Server.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace orvel {

/// The controller: accepts indexing requests, makes a pipeline for each, runs one at a time and
/// deletes it when it has finished or a newer request for the same device and mount point
/// supersedes it. The host owns it, launches and starts it, attaches it to the facade, and at
/// shutdown stops, joins and destroys it.
///
/// Among waiting requests the first in the order of handle, device id, mount point and age runs
/// next. Requests and priorities may be given from any thread. They wait for one another, and for a
/// superseded pipeline to end, but not for a device that does not answer: after half a second they
/// leave its pipeline to itself, and the controller deletes it once its threads have ended.
class ORVEL_EXPORT Orvel : public Server<Block<void>, Block<void>> {
 public:
  Orvel();
  /// Stops and joins if the owner forgot, and deletes every pipeline. One whose threads still wait
  /// for a device is never deleted.
  ~Orvel() override;

  /// Indexes `mountPoint` of a device. A live request for the same device id and mount point is
  /// stopped and deleted first. A call from within another one (a receiver of `databaseExists` on
  /// the same thread) is carried out right after it, a call from a thread of the indexer (a direct
  /// receiver of `indexingFinished`) on the controller's thread. Refused once `stop` was called.
  void enqueueNewOperation(OperationType type, const std::string& deviceId, std::size_t handle,
                           const std::string& mountPoint, bool isFirstPartition);

  /// Runs every request of this handle, device id and mount point and parks all others.
  void prioritizeOperation(OperationType type, const std::string& deviceId, std::size_t handle,
                           const std::string& mountPoint);

  /// Stops and deletes the live request for this device id and mount point and runs the next one.
  /// Its songs so far stay in the database, whose status stays "PROGRESS"; its phase becomes
  /// `Failed`. Waits like a new request that supersedes it.
  void stopOperation(OperationType type, const std::string& deviceId, std::size_t handle,
                     const std::string& mountPoint);

  /// How far the newest request for `mountPoint` is, also after it has ended; nothing when there
  /// never was one. Any thread; never waits for a request.
  [[nodiscard]] std::optional<ProgressSnapshot> progressOf(const std::string& mountPoint) const;

  /// How many requests are alive. A host is done when this is 0: the database is flushed after
  /// `indexingFinished`. Any thread; never waits for a request.
  [[nodiscard]] std::size_t liveRequests() const;

  /// Stops every request and refuses later ones. Any thread, also from within a receiver.
  void stop() override;
  /// Waits for all threads, but at most half a second for a device that does not answer. For the
  /// owner's thread, outside every receiver.
  void join() override;
  /// Takes the result of one pipeline: deletes it and runs the next.
  sink_block_type_ptr doOperation(src_block_type_ptr result) override;

 private:
  class Requests;

  std::unique_ptr<Requests> requests;
};

}  // namespace orvel
