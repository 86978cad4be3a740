#pragma once

#include <orvel/OperationType.h>

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "base/Mutex.h"
#include "db/DatabaseLease.h"
#include "db/Directory.h"
#include "framework/OrvelOperation.h"
#include "msd/ChangeFinder.h"
#include "msd/Normalizer.h"
#include "msd/PlaylistSaver.h"
#include "msd/SongSaver.h"
#include "orchestration/DatabaseCheck.h"
#include "orchestration/Pipeline.h"

namespace orvel {

class Orvel;

/// Runs one indexing request through its stages: makes the root block for the crawler, collects the
/// three LAST blocks that the terminal stages send back, finishes the request in the database,
/// tells the host, and hands the result to the controller. Runs exactly one request in its life.
class SongDirectoryPipeline : public Pipeline<Block<void>, Block<void>> {
 public:
  /// @param owner  receives the result; not owned, may be null
  SongDirectoryPipeline(const char* pipelineName, Orvel* owner, OperationType kind);

  /// Prepares the device's database, tells the host when a complete one exists, and sends the root
  /// block to the crawler. Called by the controller under its lock; database failures are logged.
  virtual void enqueueNewOperation(OrvelOperation& request, bool isFirstPartition);

  /// Cuts a stopped pipeline off from the controller and its database lease, for one whose threads
  /// do not end.
  void leaveBehind();

  /// The stage that takes the root block; null here.
  virtual BaseServer<Block<Directory*>>* crawler() { return nullptr; }

  /// Takes the LAST block of one terminal stage; the third one finishes the request.
  sink_block_type_ptr doOperation(src_block_type_ptr result) override;

 protected:
  /// Registers and connects the nine stages, the four that all devices share included; returns the
  /// crawler.
  template <class Crawler, class DirectorySaver, class SongMiner, class PlaylistMiner>
  Crawler* assemble(std::unique_ptr<Crawler> crawler,
                    std::unique_ptr<DirectorySaver> directorySaver,
                    std::unique_ptr<ChangeFinder> songFinder, std::unique_ptr<SongMiner> songMiner,
                    std::unique_ptr<PlaylistMiner> playlistMiner,
                    std::unique_ptr<ChangeFinder> playlistFinder) {
    crawler->songSink = songFinder.get();
    crawler->playlistSink = playlistFinder.get();
    crawler->directorySink = directorySaver.get();
    directorySaver->sink = this;
    auto songSaver = std::make_unique<SongSaver>("SongSaver");
    songSaver->orphanCandidates = orphanCandidates;
    songFinder->orphanCandidates = orphanCandidates;
    crawler->whenWalkBegins =
        [finders = std::array{songFinder.get(), playlistFinder.get()}](const Operation& request) {
          for (ChangeFinder* const finder : finders) {
            finder->runMeanwhile([finder, request] { finder->readAhead(request); });
          }
        };
    songFinder->whenMusicChanges = playlistFinder->whenMusicChanges = [this] { check->stop(); };
    addBranch(std::move(songFinder), std::make_unique<Normalizer>("Normalizer"),
              std::move(songMiner), std::move(songSaver));
    addBranch(std::move(playlistFinder), std::move(playlistMiner),
              std::make_unique<PlaylistSaver>("PlaylistSaver"));
    auto* const root = add(std::move(crawler));
    add(std::move(directorySaver));
    return root;
  }

  /// Stores, before the status, the failures that the next request has to know of.
  virtual void rememberFailures(bool /*isComplete*/) {}

  OrvelOperation operation;
  OperationType type;

 private:
  Mutex controllerMutex;
  Orvel* controller ORVEL_GUARDED_BY(controllerMutex);

  void enqueueOperation(OrvelOperation& request);

  // The end of a request, in this order.
  void finish(const src_block_type_ptr& result);
  void removeOrphanedEntries();
  bool mayHaveOrphanedEntries(sqlite::Connection& database) const;
  /// Stores "OK" when nothing was left undone and the database is sound, else "PROGRESS".
  void concludeStatus();
  void removeDanglingPartitions();
  /// Flushes the database, and deletes it when it is too large.
  void makeDurable();
  void reportToController(const src_block_type_ptr& result) ORVEL_EXCLUDES(controllerMutex);

  void leaveUndone(LeftUndone reason);
  bool store(const char* status);
  /// True once another request of the device has emptied the database.
  bool lostRows() ORVEL_EXCLUDES(controllerMutex);

  /// Registers stages that feed one another; the last one reports to the pipeline.
  template <class Stage, class... Rest>
  Stage* addBranch(std::unique_ptr<Stage> stage, Rest... rest) {
    auto* const added = add(std::move(stage));
    if constexpr (sizeof...(rest) == 0) {
      added->sink = this;
    } else {
      added->sink = addBranch(std::move(rest)...);
    }
    return added;
  }

  const std::shared_ptr<OrphanCandidates> orphanCandidates = std::make_shared<OrphanCandidates>();
  std::optional<DatabaseMgr::Lease> lease;
  DatabaseCheck* const check;  ///< owned by the stage list
};

}  // namespace orvel
