#include "bench/micro/SongDatabase.h"

#include <orvel/DatabaseMgr.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <memory>
#include <random>

#include "base/Md5.h"
#include "db/SqlStream.h"
#include "db/SqlTexts.h"

namespace orvel::bench {

SongDatabase::SongDatabase(int songs) {
  DatabaseMgr::instance().setDirectory(folder.path());
  DatabaseMgr::instance().createDb(kDevice, kMountPoint, true);
  insert(0, songs);
}

void SongDatabase::insert(int first, int end) {
  constexpr int kSongsPerTransaction = 500;
  constexpr int kNone = 0;
  sqlstl::basic_sqlostream<char> out;
  out.open(file().c_str(), 1000);
  const std::string mountPoint(kMountPoint);
  const Md5 partition(Md5Kind::Directory, mountPoint);
  while (first < end) {
    out.exec(sql::kBeginTransaction);
    out.query(sql::kInsertSong);
    for (const int stop = std::min(first + kSongsPerTransaction, end); first < stop; ++first) {
      const std::string path = pathOf(first);
      const std::string name = path.substr(path.rfind('/') + 1);
      const Md5 id(Md5Kind::Track, path);
      const Md5 artist(Md5Kind::Artist, std::to_string(first / 120));
      out << partition.text() << path << id.text() << partition.text() << name << name
          << artist.text() << artist.text() << artist.text() << artist.text() << kNone << kNone
          << kModified << kNone << kNone << "" << sqlstl::step;
    }
    out.finalize();
    out.exec(sql::kEndTransaction);
  }
}

std::string SongDatabase::file() const {
  return DatabaseMgr::instance().getDbNameFromDevId(kDevice);
}

std::string SongDatabase::pathOf(int song) {
  return std::string(kMountPoint) + "/Some Artist/" + std::to_string(song / 12) +
         " An Album of the Artist/" + std::to_string(song) + " A Song of the Album.mp3";
}

boost::shared_ptr<Block<FileInfo*>> SongDatabase::crawled(int songs) {
  auto block = boost::make_shared<Block<FileInfo*>>(Operation(1, 0, kDevice, kMountPoint, true));
  for (int song = 0; song < songs; ++song) {
    block->add(std::make_unique<FileInfo>(pathOf(song), 0U, kModified));
  }
  std::shuffle(block->items.begin(), block->items.end(), std::mt19937(1));
  return block;
}

}  // namespace orvel::bench
