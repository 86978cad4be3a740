#pragma once

#include "db/MetaDataInfo.h"
#include "framework/ServerDB.h"

namespace orvel {

// Two records share an identifier when they share the text that holds it, not when the texts are
// equal: that is cheap, groups what was copied from one source, and what it misses is harmless,
// since names are written with REPLACE.
bool sortOnGenre(const MetaDataInfo* a, const MetaDataInfo* b);
bool uniqueOnGenre(const MetaDataInfo* a, const MetaDataInfo* b);
bool sortOnAlbum(const MetaDataInfo* a, const MetaDataInfo* b);
bool uniqueOnAlbum(const MetaDataInfo* a, const MetaDataInfo* b);
bool sortOnArtist(const MetaDataInfo* a, const MetaDataInfo* b);
bool uniqueOnArtist(const MetaDataInfo* a, const MetaDataInfo* b);
bool sortOnComposer(const MetaDataInfo* a, const MetaDataInfo* b);
bool uniqueOnComposer(const MetaDataInfo* a, const MetaDataInfo* b);

/// Writes songs and the artists, albums, genres and composers that they refer to, one transaction
/// per block. Opens the database with the first block of a request and closes it after the last
/// one, when it has removed the names that no song refers to any more.
class SongSaver : public ServerDB<Block<MetaDataInfo*>, Block<void>> {
 public:
  using ServerDB::ServerDB;

  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

 private:
  struct Dimension;

  bool save(Block<MetaDataInfo*>& block);
  bool saveSongs(const Block<MetaDataInfo*>& block);
  bool forget(const Block<MetaDataInfo*>& block);
  bool saveDimension(Block<MetaDataInfo*>& block, const Dimension& dimension);
  sink_block_type_ptr finish(const Operation& operation);
};

}  // namespace orvel
