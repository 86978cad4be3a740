#include <orvel/Cover.h>

#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>
#include <utility>

#include "base/Log.h"
#include "base/Mutex.h"
#include "base/NoDestructor.h"
#include "base/StageThread.h"
#include "covers/fetchCover.h"
#include "tags/isolation/makeTagReader.h"

namespace orvel {

namespace {

/// A reader that a cancelled fetch stops for good.
struct StoppableReader {
  std::stop_source stop;
  std::unique_ptr<TagReader> reader = makePictureReader(stop.get_token());
};

/// The reader of a device's thread: one for all its fetches, until one of them is cancelled or
/// finds no use in it.
class PictureReader {
 public:
  Cover::Result fetch(const Cover::Song& song, const std::stop_token& cancelled) {
    if (!state || state->stop.stop_requested()) state.emplace();
    const std::stop_callback onCancel(cancelled, [this] { state->stop.request_stop(); });
    stageThread::lendToken(state->stop.get_token());
    Cover::Result result = fetchCover(*state->reader, song, state->stop.get_token());
    if (result.outcome == Cover::Outcome::Failed) state->stop.request_stop();
    return result;
  }

 private:
  std::optional<StoppableReader> state;
};

}  // namespace

/// One fetch: its song, and who waits for its result.
class CoverFetch {
 public:
  CoverFetch(Cover::Song coverSong, Cover::Receiver receiver)
      : song(std::move(coverSong)), receive(std::move(receiver)) {}

  [[nodiscard]] const std::string& device() const { return song.mountPoint; }

  void run(PictureReader& reader) {
    if (cancelled.stop_requested()) return;
    Cover::Result result;
    try {
      result = reader.fetch(song, cancelled.get_token());
    } catch (const std::exception& error) {
      OV_WARN("cannot fetch the cover of %s: %s", song.path.c_str(), error.what());
      result.outcome = Cover::Outcome::Failed;
    }
    const std::lock_guard lock(mutex);
    if (receive) std::exchange(receive, nullptr)(std::move(result));
  }

  void cancel() {
    cancelled.request_stop();
    const std::lock_guard lock(mutex);
    receive = nullptr;
  }

 private:
  const Cover::Song song;
  std::stop_source cancelled;
  std::recursive_mutex mutex;  ///< held while `receive` runs, which may cancel
  Cover::Receiver receive;     ///< null once it was called or is not wanted
};

namespace {

/// The fetches that wait, by device. A device has an entry as long as it has a thread.
class Queues {
 public:
  static Queues& instance() {
    // Never destroyed: threads may outlive the main function.
    static NoDestructor<Queues> queues;
    return *queues;
  }

  void add(std::shared_ptr<CoverFetch> fetch) {
    const MutexLock lock(mutex);
    const auto [queue, isNew] = waiting.try_emplace(fetch->device());
    if (isNew) startThread(queue);
    queue->second.push_back(std::move(fetch));
  }

 private:
  using Waiting = std::map<std::string, std::deque<std::shared_ptr<CoverFetch>>>;

  void startThread(Waiting::iterator queue) ORVEL_REQUIRES(mutex) {
    try {
      std::thread([this, queue] { work(queue); }).detach();
    } catch (...) {
      waiting.erase(queue);
      throw;
    }
  }

  void work(Waiting::iterator queue) {
    PictureReader reader;
    while (const auto fetch = next(queue)) fetch->run(reader);
  }

  /// Null when there is no other: the device has no entry then.
  std::shared_ptr<CoverFetch> next(Waiting::iterator queue) {
    const MutexLock lock(mutex);
    if (queue->second.empty()) {
      waiting.erase(queue);
      return nullptr;
    }
    std::shared_ptr<CoverFetch> first = std::move(queue->second.front());
    queue->second.pop_front();
    return first;
  }

  Mutex mutex;
  Waiting waiting ORVEL_GUARDED_BY(mutex);
};

}  // namespace

Cover::Cover(Song song, Receiver receive)
    : fetch(std::make_shared<CoverFetch>(std::move(song), std::move(receive))) {
  Queues::instance().add(fetch);
}

Cover::~Cover() {
  cancel();
}

void Cover::cancel() {
  fetch->cancel();
}

}  // namespace orvel
