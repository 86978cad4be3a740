#pragma once

#include "base/Log.h"
#include "base/insist.h"
#include "db/Directory.h"
#include "db/FileInfo.h"
#include "framework/HostListener.h"
#include "framework/Server.h"

namespace orvel {

/// The first stage of a pipeline: finds what a device holds and sends it down three branches, songs
/// as its own result, playlists and directories directly.
template <class DIRECTORY>
class Crawler : public Server<Block<Directory*>, Block<FileInfo*>> {
 public:
  using Server::Server;

  /// Tells the host that everything has been found.
  void signalCompletion(const Operation& operation) override {
    if (this->running()) {
      this->listener->crawlingFinished(operation.mountPoint);
    } else {
      OV_INFO("Skip signalCrawlingFinished");
    }
  }

  // Not owned; null feeds nobody.
  BaseServer<Block<FileInfo*>>*& songSink = sink;  ///< the ordinary sink under its own name
  BaseServer<Block<FileInfo*>>* playlistSink = nullptr;
  BaseServer<Block<DIRECTORY>>* directorySink = nullptr;

 protected:
  /// A block that a branch cannot be told of the end of the request without.
  template <class T>
  boost::shared_ptr<Block<T>> makeBlock(const Operation& operation) {
    return orFail([&] { return insist([&] { return boost::make_shared<Block<T>>(operation); }); });
  }

  /// Sends the LAST blocks of the two branches beside the songs.
  void sendBranches(const boost::shared_ptr<Block<DIRECTORY>>& directories,
                    const sink_block_type_ptr& playlists) {
    orFail([&] {
      playlists->operation.last = true;
      if (playlistSink != nullptr) playlistSink->enqueue(playlists);
      directories->operation.last = true;
      if (directorySink != nullptr) directorySink->enqueue(directories);
    });
  }

 private:
  /// The pipeline counts three LAST blocks: without one of them the request has failed.
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
