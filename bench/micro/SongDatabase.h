#pragma once

#include <boost/shared_ptr.hpp>
#include <string>

#include "db/FileInfo.h"
#include "framework/Block.h"
#include "tests/support/TemporaryFolder.h"

namespace orvel::bench {

/// A database in a folder of its own that holds made-up songs.
class SongDatabase {
 public:
  static constexpr char kDevice[] = "bench";
  static constexpr char kMountPoint[] = "/media/stick";
  static constexpr int kModified = 1'600'000'000;

  explicit SongDatabase(int songs);

  /// Adds songs, 500 a transaction.
  void insert(int first, int end);
  [[nodiscard]] std::string file() const;

  /// Twelve songs a folder.
  static std::string pathOf(int song);
  /// The songs as a crawler finds them, in no order of names.
  static boost::shared_ptr<Block<FileInfo*>> crawled(int songs);

 private:
  test::TemporaryFolder folder;
};

}  // namespace orvel::bench
