#include "msd/SongSaver.h"

#include <algorithm>
#include <functional>
#include <string>

#include "base/Log.h"
#include "base/Timer.h"
#include "db/SqlTexts.h"
#include "db/Transaction.h"
#include "db/cleanUp.h"

namespace orvel {

namespace {

enum AsianField : std::size_t { Title = 0, Artist = 1, Album = 2, Genre = 3, Composer = 4 };

const char* asian(const MetaDataInfo& song, AsianField field) {
  return song.asianFields == nullptr ? "" : (*song.asianFields)[field];
}

template <Md5 MetaDataInfo::*Id>
bool sortOn(const MetaDataInfo* a, const MetaDataInfo* b) {
  return std::less<>()((a->*Id).identity(), (b->*Id).identity());
}

template <Md5 MetaDataInfo::*Id>
bool uniqueOn(const MetaDataInfo* a, const MetaDataInfo* b) {
  return (a->*Id).identity() == (b->*Id).identity();
}

std::int64_t storedBytes(const Block<MetaDataInfo*>& block) {
  std::size_t bytes = 0;
  for (const MetaDataInfo* song : block.items) bytes += song->storedBytes();
  return static_cast<std::int64_t>(bytes);
}

}  // namespace

bool sortOnGenre(const MetaDataInfo* a, const MetaDataInfo* b) {
  return sortOn<&MetaDataInfo::genreId>(a, b);
}
bool uniqueOnGenre(const MetaDataInfo* a, const MetaDataInfo* b) {
  return uniqueOn<&MetaDataInfo::genreId>(a, b);
}
bool sortOnAlbum(const MetaDataInfo* a, const MetaDataInfo* b) {
  return sortOn<&MetaDataInfo::albumId>(a, b);
}
bool uniqueOnAlbum(const MetaDataInfo* a, const MetaDataInfo* b) {
  return uniqueOn<&MetaDataInfo::albumId>(a, b);
}
bool sortOnArtist(const MetaDataInfo* a, const MetaDataInfo* b) {
  return sortOn<&MetaDataInfo::artistId>(a, b);
}
bool uniqueOnArtist(const MetaDataInfo* a, const MetaDataInfo* b) {
  return uniqueOn<&MetaDataInfo::artistId>(a, b);
}
bool sortOnComposer(const MetaDataInfo* a, const MetaDataInfo* b) {
  return sortOn<&MetaDataInfo::composerId>(a, b);
}
bool uniqueOnComposer(const MetaDataInfo* a, const MetaDataInfo* b) {
  return uniqueOn<&MetaDataInfo::composerId>(a, b);
}

/// One of the four tables of names.
struct SongSaver::Dimension {
  bool (*sort)(const MetaDataInfo*, const MetaDataInfo*);
  bool (*unique)(const MetaDataInfo*, const MetaDataInfo*);
  const char* replaceSql;
  Md5 MetaDataInfo::*id;
  std::string MetaDataInfo::*text;
  AsianField asianField;
};

SongSaver::sink_block_type_ptr SongSaver::doOperation(src_block_type_ptr block) {
  const Operation& operation = block->operation;
  OV_INFO("SongSaver for: %u (op: %d)", static_cast<unsigned>(block->items.size()), operation.id);
  const Timer timer;
  if (out.handle() == nullptr) open(operation.deviceId);
  if (fits(storedBytes(*block), block->operation)) {
    if (save(*block)) {
      progress->songsWereStored(static_cast<unsigned>(block->items.size()));
      for (const MetaDataInfo* song : block->items) orphanCandidates->remove(*song);
    } else {
      orphanCandidates->forget();
      leaveUndone(block->operation, LeftUndone::RowsLost);
    }
  }
  OV_INFO("SongSaver timer: %ld (op: %d)", timer.elapsedMs(), operation.id);
  return operation.last ? finish(operation) : sink_block_type_ptr();
}

/// Returns true when every row is committed. If a name is lost, commits the songs for the next
/// request to read again, or nothing.
bool SongSaver::save(Block<MetaDataInfo*>& block) {
  static constexpr Dimension kDimensions[] = {
      {sortOnGenre, uniqueOnGenre, sql::kReplaceGenre, &MetaDataInfo::genreId, &MetaDataInfo::genre,
       AsianField::Genre},
      {sortOnAlbum, uniqueOnAlbum, sql::kReplaceAlbum, &MetaDataInfo::albumId, &MetaDataInfo::album,
       AsianField::Album},
      {sortOnArtist, uniqueOnArtist, sql::kReplaceArtist, &MetaDataInfo::artistId,
       &MetaDataInfo::artist, AsianField::Artist},
      {sortOnComposer, uniqueOnComposer, sql::kReplaceComposer, &MetaDataInfo::composerId,
       &MetaDataInfo::composer, AsianField::Composer},
  };
  Transaction transaction(out);
  bool written = saveSongs(block);
  for (const Dimension& dimension : kDimensions) {
    written = saveDimension(block, dimension) && written;
  }
  const bool repairable = written || forgetModificationTimes(block);
  out.finalize();
  if (!repairable) {
    transaction.rollBack();
    return false;
  }
  return transaction.end() && written;
}

/// Makes the songs of the block look changed to the next request, which repairs their names.
bool SongSaver::forgetModificationTimes(const Block<MetaDataInfo*>& block) {
  out.query(sql::kForgetModification);
  for (const MetaDataInfo* song : block.items) out << song->path << sqlstl::step;
  return out.good();
}

bool SongSaver::saveSongs(const Block<MetaDataInfo*>& block) {
  constexpr int kNoBookmark = 0;
  std::vector<long> ids;
  ids.reserve(block.items.size());
  out.query(sql::kInsertSong);
  for (const MetaDataInfo* song : block.items) {
    out << song->partitionId.text() << song->path << song->storedObjectId()
        << song->directoryId.text() << song->name << song->title << song->artistId.text()
        << song->albumId.text() << song->genreId.text() << song->composerId.text()
        << song->audioType << kNoBookmark << song->lastModified << song->trackNumber
        << song->discNumber << asian(*song, AsianField::Title) << sqlstl::step;
    ids.push_back(static_cast<long>(sqlite3_last_insert_rowid(out.handle())));
  }
  return out.good() && saveDetails(block, ids);
}

/// @param ids  of the rows of the block's songs
bool SongSaver::saveDetails(const Block<MetaDataInfo*>& block, const std::vector<long>& ids) {
  out.query(sql::kInsertSongDetails);
  for (std::size_t i = 0; i < ids.size(); ++i) {
    const SongDetails& details = block.items[i]->details;
    out << ids[i] << static_cast<long>(details.milliseconds) << static_cast<long>(details.year)
        << details.albumArtist << static_cast<int>(details.cover) << sqlstl::step;
  }
  return out.good();
}

bool SongSaver::saveDimension(Block<MetaDataInfo*>& block, const Dimension& dimension) {
  std::sort(block.items.begin(), block.items.end(), dimension.sort);
  out.query(dimension.replaceSql);
  const MetaDataInfo* earlier = nullptr;
  // Skip duplicates here: std::unique would overwrite pointers that the block owns.
  for (const MetaDataInfo* song : block.items) {
    if (earlier != nullptr && dimension.unique(earlier, song)) continue;
    out << (song->*dimension.id).text() << song->*dimension.text
        << asian(*song, dimension.asianField) << sqlstl::step;
    earlier = song;
  }
  return out.good();
}

SongSaver::sink_block_type_ptr SongSaver::finish(const Operation& operation) {
  OV_INFO("Clear");
  const bool isClean = cleanUp();
  auto result = boost::make_shared<Block<void>>(operation);
  if (!isClean) leaveUndone(result->operation, LeftUndone::RowsLost);
  OV_INFO("SongSaver close db");
  close();
  return result;
}

bool SongSaver::cleanUp() {
  if (!progress->songsChanged && isCleanedUp(out.database())) return true;
  if (!orvel::cleanUp(out, sql::kCleanDetails)) return false;
  // A song that took the place of another one left its details, and perhaps its names.
  const bool wereReplaced = sqlite3_changes(out.handle()) > 0;
  const bool areComplete = !wereReplaced && orphanCandidates->areNone();
  return areComplete || orvel::cleanUp(out, sql::kCleanNames);
}

}  // namespace orvel
