#include <gtest/gtest.h>

#include <cstdio>
#include <functional>

#include "db/SqlTexts.h"
#include "msd/ChangeFinder.h"
#include "msd/DirectorySaver.h"
#include "msd/MSDCrawler.h"
#include "msd/MSDMiner.h"
#include "msd/MSDPlaylistMiner.h"
#include "msd/Normalizer.h"
#include "msd/PlaylistSaver.h"
#include "msd/SongSaver.h"
#include "tests/endtoend/Song.h"
#include "tests/faults/FailingMemory.h"
#include "tests/msd/CatchingSink.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/MainLoopThread.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

/// Each stage on its own thread, with one LAST block of three songs' work, while its n-th
/// allocation fails, for every n: the stage sends LAST once, and says so when work was left undone.
class StageMemoryTest : public DatabaseFolderFixture {
 protected:
  StageMemoryTest() {
    for (const char* name : {"a.mp3", "A/b.m4a", "A/c.flac"}) {
      writeSong(stick + "/" + name, {"Title", "Artist"});
      songs.push_back(stick + "/" + name);
    }
    list = temporary.file("stick/p.m3u", "a.mp3\nA/b.m4a\nA/c.flac\n");
    manager.createDb("dev", stick, true);
  }

  template <class T>
  boost::shared_ptr<Block<T>> block() {
    return boost::make_shared<Block<T>>(Operation(1, 0, "dev", stick, true));
  }

  boost::shared_ptr<Block<FileInfo*>> files(const std::vector<std::string>& paths) {
    auto made = block<FileInfo*>();
    for (const std::string& path : paths) made->add(std::make_unique<FileInfo>(path, 0U, 1000));
    return made;
  }

  /// Runs `makeStage()` on `makeBlock()` with every allocation failing in turn. `isComplete` looks
  /// at the block that came out, after all.
  template <class In, class Out>
  void failEveryAllocation(const std::function<std::unique_ptr<Server<In, Out>>()>& makeStage,
                           const std::function<boost::shared_ptr<In>()>& makeBlock,
                           const std::function<bool(const Out&)>& isComplete) {
    long counted = 0;
    for (long n = 0; n <= counted; ++n) {
      CatchingSink<Out> sink;
      const auto stage = makeStage();
      stage->sink = &sink;
      stage->launch();
      stage->start();
      const auto input = makeBlock();
      failingMemory::armNew(n);
      stage->enqueue(input);
      std::vector<boost::shared_ptr<Out>> received;
      EXPECT_TRUE(waitUntil([&] {
        for (auto& out : sink.take()) received.push_back(out);
        return !received.empty() && received.back()->operation.last;
      })) << "LAST was lost by allocation "
          << n;
      counted = failingMemory::disarm();
      stage->stop();
      stage->join();
      for (auto& out : sink.take()) received.push_back(out);
      ASSERT_EQ(received.size(), 1U) << "allocation " << n;
      const Out& out = *received.front();
      EXPECT_TRUE(out.operation.skipped || isComplete(out)) << "allocation " << n;
      EXPECT_FALSE(n == 0 && out.operation.skipped);
    }
    std::printf("%ld allocations\n", counted);
  }

  const std::string stick = temporary.folder("stick");
  std::vector<std::string> songs;
  std::string list;
};

TEST_F(StageMemoryTest, Crawler) {
  CatchingSink<Block<FileInfo*>> lists;
  CatchingSink<Block<Directory*>> folders;
  std::size_t runs = 0;
  failEveryAllocation<Block<Directory*>, Block<FileInfo*>>(
      [&] {
        // The branches were told of each end exactly once, too.
        EXPECT_EQ(lists.take().size(), runs);
        EXPECT_EQ(folders.take().size(), runs);
        runs = 1;
        auto crawler = std::make_unique<MSDCrawler>("MSDCrawler");
        crawler->playlistSink = &lists;
        crawler->directorySink = &folders;
        return crawler;
      },
      [&] {
        auto root = block<Directory*>();
        root->add(std::make_unique<Directory>(stick, stick, -1));
        return root;
      },
      [](const Block<FileInfo*>& found) { return found.items.size() == 3; });
}

TEST_F(StageMemoryTest, ChangeFinder) {
  failEveryAllocation<Block<FileInfo*>, Block<FileInfo*>>(
      [] {
        return std::make_unique<orvel::ChangeFinder>("ChangeFinder",
                                                     orvel::ChangeFinder::Content::Songs,
                                                     sql::kSelectSongs, sql::kDeleteSong, false);
      },
      [&] { return files(songs); },
      [](const Block<FileInfo*>& added) { return added.items.size() == 3; });
}

TEST_F(StageMemoryTest, Normalizer) {
  failEveryAllocation<Block<FileInfo*>, Block<FileInfo*>>(
      [] { return std::make_unique<orvel::Normalizer>("Normalizer"); },
      [&] { return files(songs); },
      [](const Block<FileInfo*>& batch) { return batch.items.size() == 3; });
}

TEST_F(StageMemoryTest, Miner) {
  failEveryAllocation<Block<FileInfo*>, Block<MetaDataInfo*>>(
      [] { return std::make_unique<MSDMiner>("MSDMiner"); }, [&] { return files(songs); },
      [](const Block<MetaDataInfo*>& mined) {
        if (mined.items.size() != 3) return false;
        for (const MetaDataInfo* song : mined.items) {
          if (song->title != "Title" || song->artist != "Artist") return false;
        }
        return true;
      });
}

TEST_F(StageMemoryTest, SongSaver) {
  failEveryAllocation<Block<MetaDataInfo*>, Block<void>>(
      [&] {
        rowsOf("dev", "DELETE FROM SONGS; DELETE FROM ARTISTS;");
        return std::make_unique<orvel::SongSaver>("SongSaver");
      },
      [&] {
        auto made = block<MetaDataInfo*>();
        for (const std::string& path : songs) {
          made->add(std::make_unique<MetaDataInfo>(path, stick, "Title", "Artist", "Album", "Genre",
                                                   "Composer", 1, 1, 1000));
        }
        return made;
      },
      [&](const Block<void>&) {
        return rowsOf("dev", "SELECT TITLE FROM SONGS JOIN ARTISTS USING (ARTISTID);").size() == 3;
      });
}

TEST_F(StageMemoryTest, DirectorySaver) {
  failEveryAllocation<Block<Directory*>, Block<void>>(
      [&] {
        rowsOf("dev", "DELETE FROM DIRECTORIES;");
        return std::make_unique<orvel::DirectorySaver>("DirectorySaver");
      },
      [&] {
        auto made = block<Directory*>();
        made->add(std::make_unique<Directory>(stick, stick, -1));
        made->add(std::make_unique<Directory>(stick + "/A", stick, 0));
        made->items.back()->hasMusic = true;
        return made;
      },
      [&](const Block<void>&) {
        return rowsOf("dev", "SELECT PATH FROM DIRECTORIES;").size() == 2;
      });
}

TEST_F(StageMemoryTest, PlaylistMiner) {
  const MainLoopThread mainLoop;
  failEveryAllocation<Block<FileInfo*>, Block<Playlist*>>(
      [] { return std::make_unique<MSDPlaylistMiner>("MSDPlaylistMiner"); },
      [&] { return files({list}); },
      [](const Block<Playlist*>& mined) {
        return mined.items.size() == 1 && mined.items.front()->entries.size() == 3;
      });
}

TEST_F(StageMemoryTest, PlaylistSaver) {
  failEveryAllocation<Block<Playlist*>, Block<void>>(
      [&] {
        rowsOf("dev", "DELETE FROM PLAYLISTS;");
        return std::make_unique<orvel::PlaylistSaver>("PlaylistSaver");
      },
      [&] {
        auto made = block<Playlist*>();
        made->add(std::make_unique<Playlist>(list, stick, 1000));
        for (const std::string& path : songs) {
          made->items.front()->entries.push_back({path, Md5(Md5Kind::Track, path), false});
        }
        return made;
      },
      [&](const Block<void>&) {
        return rowsOf("dev", "SELECT TRACKPATH FROM PLAYLISTS;").size() == 4;
      });
}

}  // namespace
}  // namespace orvel::test
