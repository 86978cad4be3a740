#pragma once

#include "mtp/MtpCrawler.h"
#include "orchestration/SongDirectoryPipeline.h"

namespace orvel {

/// The pipeline that indexes an MTP device.
class MtpPipeline : public SongDirectoryPipeline {
 public:
  /// Builds and connects the nine stages; no thread is started.
  explicit MtpPipeline(Orvel* owner);

  BaseServer<Block<Directory*>>* crawler() override { return crawlerStage; }

 private:
  MtpCrawler* crawlerStage;  ///< owned by the stage list
};

}  // namespace orvel
