#pragma once

#include <memory>
#include <vector>

#include "db/MetaDataInfo.h"
#include "framework/ServerDB.h"
#include "msd/OrphanCandidates.h"

namespace orvel {

// Two records share an identifier when they share the buffer of its text, which is cheap to
// compare. Equal texts in different buffers only cost a repeated REPLACE of the same name.
bool sortOnGenre(const MetaDataInfo* a, const MetaDataInfo* b);
bool uniqueOnGenre(const MetaDataInfo* a, const MetaDataInfo* b);
bool sortOnAlbum(const MetaDataInfo* a, const MetaDataInfo* b);
bool uniqueOnAlbum(const MetaDataInfo* a, const MetaDataInfo* b);
bool sortOnArtist(const MetaDataInfo* a, const MetaDataInfo* b);
bool uniqueOnArtist(const MetaDataInfo* a, const MetaDataInfo* b);
bool sortOnComposer(const MetaDataInfo* a, const MetaDataInfo* b);
bool uniqueOnComposer(const MetaDataInfo* a, const MetaDataInfo* b);

/// Writes songs with their artists, albums, genres and composers, one transaction per block. Opens
/// the database with the first block of a request; after the last one removes the names that no
/// song refers to and closes the database.
class SongSaver : public ServerDB<Block<MetaDataInfo*>, Block<void>> {
 public:
  using ServerDB::ServerDB;

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

  /// Told the songs that are stored; not null.
  std::shared_ptr<OrphanCandidates> orphanCandidates = std::make_shared<OrphanCandidates>();

 private:
  struct Dimension;

  bool save(Block<MetaDataInfo*>& block);
  bool saveSongs(const Block<MetaDataInfo*>& block);
  bool saveDetails(const Block<MetaDataInfo*>& block, const std::vector<long>& ids);
  bool forgetModificationTimes(const Block<MetaDataInfo*>& block);
  bool saveDimension(Block<MetaDataInfo*>& block, const Dimension& dimension);
  sink_block_type_ptr finish(const Operation& operation);
  /// True when no name and no details are left without a song.
  bool cleanUp();
};

}  // namespace orvel
