#pragma once

#include "db/MtpDirectory.h"
#include "framework/Crawler.h"
#include "phones/OwnedList.h"

namespace orvel {

class MtpConnection;

/// The first stage of the MTP pipeline: walks the device, waits until it is ready, and sends one
/// block of tracks, one of playlists and one of directories. Reads no file content.
class MtpCrawler : public Crawler<MtpDirectory*> {
 public:
  using Crawler::Crawler;

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

 private:
  void crawl(const Found& found);
  /// Marks all branches, and everything stored of the device as perhaps still there.
  void leaveAllInDoubt(const Found& found, LeftUndone reason);
  /// The same for the folders that could not be listed.
  void leaveFoldersInDoubt(const Found& found, const MtpConnection& connection);
  void addTracks(const Found& found, MtpConnection& connection, const OwnedElements& tracks);
  void addPlaylists(const Found& found, const OwnedElements& playlists);
  void addDirectories(const Found& found, MtpConnection& connection, OwnedElements& tracks);
  /// Returns false when the device is gone or the stage was stopped.
  [[nodiscard]] bool goesOn(const Operation& operation) const;
};

}  // namespace orvel
