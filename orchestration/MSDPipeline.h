#pragma once

#include <memory>

#include "msd/MSDCrawler.h"
#include "msd/ReadFailures.h"
#include "orchestration/SongDirectoryPipeline.h"

namespace orvel {

/// The pipeline that indexes a mounted mass-storage device.
class MSDPipeline : public SongDirectoryPipeline {
 public:
  /// Builds and connects the nine stages; no thread is started.
  explicit MSDPipeline(Orvel* owner);

  BaseServer<Block<Directory*>>* crawler() override { return crawlerStage; }

 private:
  void rememberFailures(bool isComplete) override;

  std::shared_ptr<ReadFailures> failures;
  MSDCrawler* crawlerStage;  ///< owned by the stage list
};

}  // namespace orvel
