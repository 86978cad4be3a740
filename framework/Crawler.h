#pragma once

#include <cassert>
#include <functional>

#include "base/Log.h"
#include "base/retryOnBadAlloc.h"
#include "db/Directory.h"
#include "db/FileInfo.h"
#include "framework/HostListener.h"
#include "framework/RequestProgress.h"
#include "framework/Server.h"

namespace orvel {

/// The first stage of a pipeline: finds the songs, playlists and directories of a device and sends
/// each kind down its own branch. The run loop sends the songs, the crawler the other two.
template <class DIRECTORY>
class Crawler : public Server<Block<Directory*>, Block<FileInfo*>> {
 public:
  using Server::Server;

  /// Tells the host that the crawl is complete.
  void signalCompletion(const Operation& operation) override {
    if (this->running()) {
      this->listener->crawlingFinished(operation.mountPoint);
    } else {
      OV_INFO("Skip signalCrawlingFinished");
    }
  }

  /// Called on the crawler's thread before it lists the device; set before `launch`.
  std::function<void(const Operation&)> whenWalkBegins = [](const Operation&) {};

  // The heads of the three branches. Not owned; a null branch receives nothing.
  BaseServer<Block<FileInfo*>>*& songSink = sink;  ///< the ordinary sink under its own name
  BaseServer<Block<FileInfo*>>* playlistSink = nullptr;
  BaseServer<Block<DIRECTORY>>* directorySink = nullptr;

 protected:
  /// The blocks of one request, one for each branch.
  struct Found {
    boost::shared_ptr<Block<FileInfo*>> songs;
    boost::shared_ptr<Block<FileInfo*>> playlists;
    boost::shared_ptr<Block<DIRECTORY>> directories;
  };

  /// Marks the blocks of all three branches: the run loop marks only the songs, which it sends.
  void leaveAllUndone(const Found& found, LeftUndone reason) {
    assert(found.songs && found.playlists && found.directories);
    leaveUndone(found.songs->operation, reason);
    leaveUndone(found.playlists->operation, reason);
    leaveUndone(found.directories->operation, reason);
  }

  /// Allocates the block that carries LAST down a branch. Repeats on std::bad_alloc: without the
  /// block the request could never finish.
  template <class T>
  boost::shared_ptr<Block<T>> makeBlock(const Operation& operation) {
    return orFail(
        [&] { return retryOnBadAlloc([&] { return boost::make_shared<Block<T>>(operation); }); });
  }

  /// Sends the LAST blocks of playlists and directories; the run loop sends the songs.
  void sendBranches(const Found& found) {
    orFail([&] {
      found.playlists->operation.last = true;
      if (playlistSink != nullptr) playlistSink->enqueue(found.playlists);
      found.directories->operation.last = true;
      if (directorySink != nullptr) directorySink->enqueue(found.directories);
    });
  }

 private:
  /// Fails the request when `work` throws: the pipeline waits for three LAST blocks.
  template <class Work>
  auto orFail(Work work) -> decltype(work()) {
    try {
      return work();
    } catch (const std::exception&) {
      this->progress->fail();
      throw;
    }
  }
};

}  // namespace orvel
