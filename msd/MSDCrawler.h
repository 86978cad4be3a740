#pragma once

#include <memory>

#include "framework/Crawler.h"
#include "msd/MSDWalk.h"
#include "msd/MountPointWatch.h"
#include "msd/ReadFailures.h"

namespace orvel {

/// The first stage of the mass-storage pipeline: walks the device and sends one block of song
/// files, one of playlist files and one of directories. Reads listings and file status only.
class MSDCrawler : public Crawler<Directory*> {
 public:
  explicit MSDCrawler(
      const char* stageName,
      std::shared_ptr<MountPointWatch> mountPointWatch = std::make_shared<MountPointWatch>(),
      std::shared_ptr<ReadFailures> readFailures = std::make_shared<ReadFailures>());

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

 private:
  void walk(const Found& found);
  void passOver(const Found& found, const std::string& path);
  [[nodiscard]] WalkGoesOn walkGoesOn() const;

  std::shared_ptr<MountPointWatch> watch;
  std::shared_ptr<ReadFailures> failures;
};

}  // namespace orvel
