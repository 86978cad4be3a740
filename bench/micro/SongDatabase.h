#pragma once

#include <boost/shared_ptr.hpp>
#include <string>

#include "db/FileInfo.h"
#include "framework/Block.h"
#include "tests/support/TemporaryFolder.h"

namespace orvel::bench {

/// A database of made-up songs in its own folder.
class SongDatabase {
 public:
  static constexpr char kDevice[] = "bench";
  static constexpr char kMountPoint[] = "/media/stick";
  static constexpr int kModified = 1'600'000'000;

  explicit SongDatabase(int songs);

  /// Adds songs, 500 per transaction.
  void insert(int first, int end);
  [[nodiscard]] std::string file() const;

  /// The path of a song; each folder has twelve.
  static std::string pathOf(int song);
  /// The songs as a crawler finds them, not sorted by name.
  static boost::shared_ptr<Block<FileInfo*>> crawled(int songs);

 private:
  test::TemporaryFolder folder;
};

}  // namespace orvel::bench
