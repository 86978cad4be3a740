#pragma once

#include <optional>
#include <string>

#include "db/DatabaseMgr.h"
#include "db/Directory.h"
#include "framework/OrvelOperation.h"
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

  /// The stage that takes the root block; null here.
  virtual BaseServer<Block<Directory*>>* crawler() { return nullptr; }

  /// Takes the LAST block of one terminal stage; the third one finishes the request.
  sink_block_type_ptr doOperation(src_block_type_ptr result) override;

 protected:
  OrvelOperation operation;
  Orvel* controller;
  OperationType type;

 private:
  void enqueueOperation(OrvelOperation& request);
  void finish(const src_block_type_ptr& result);
  void clearPlaylists();

  std::optional<DatabaseMgr::Lease> lease;
};

}  // namespace orvel
