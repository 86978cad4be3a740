#pragma once

#include "msd/MSDCrawler.h"
#include "orchestration/SongDirectoryPipeline.h"

namespace orvel {

/// The pipeline that indexes a mounted mass-storage device.
class MSDPipeline : public SongDirectoryPipeline {
 public:
  /// Builds and connects the nine stages; no thread is started.
  explicit MSDPipeline(Orvel* owner);

  BaseServer<Block<Directory*>>* crawler() override { return crawlerStage; }

 private:
  MSDCrawler* crawlerStage;  ///< owned by the stage list
};

}  // namespace orvel
