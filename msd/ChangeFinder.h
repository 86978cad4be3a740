#pragma once

#include <functional>
#include <memory>
#include <string>

#include "db/FileInfo.h"
#include "framework/ServerDB.h"
#include "msd/OrphanCandidates.h"
#include "msd/StoredFiles.h"

namespace orvel {

/// Passes on the files that are new or changed since the device was last indexed, and deletes the
/// rows of files that are gone or changed.
class ChangeFinder : public ServerDB<Block<FileInfo*>, Block<FileInfo*>> {
 public:
  /// The kind of files; only songs go into the request's counters.
  enum class Content { Songs, Playlists };

  /// @param select  reads id, modification time and path of the stored files; for mass storage it
  ///                ends in "LIKE " and the stage appends the mount point's pattern
  /// @param remove  deletes the rows that belong to one id
  ChangeFinder(const char* stageName, Content fileContent, std::string select, std::string remove,
               bool mtp);

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

  /// Reads the stored rows before the files are known. For the stage's thread; never throws.
  void readAhead(const Operation& operation);

  /// Called on the stage's thread when it has found a change; set before `launch`.
  std::function<void()> whenMusicChanges = [] {};
  /// Told the songs before they are deleted; null: nobody.
  std::shared_ptr<OrphanCandidates> orphanCandidates;

 private:
  /// The walk tells of pictures beside songs; a phone's listing does so later.
  [[nodiscard]] bool withPictures() const { return content == Content::Songs && !isMtp; }
  [[nodiscard]] std::string selectFor(const std::string& mountPoint) const;
  [[nodiscard]] static bool markInProgress(const Operation& operation);
  void count(std::size_t files, std::size_t added, unsigned vanished);

  const Content content;
  const std::string selectSql;
  const std::string deleteSql;
  const bool isMtp;
  StoredFiles readBefore;  ///< over the stage's open input stream
};

}  // namespace orvel
