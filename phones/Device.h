#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/Mutex.h"
#include "phones/DeviceConnection.h"
#include "phones/ObjectTable.h"

namespace orvel {

class DeviceCalls;

/// One attached device: asks it through its connection and remembers the answers that are needed
/// again. Any thread.
class Device {
 public:
  Device(t_handle handle, deviceBus::BusDevice bus);
  ~Device();
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;

  /// Opens the device unless it is open, and describes it as hosts see it.
  AttachedDevice describe();
  /// Ends the session once the device's thread is free, then calls `whenClosed` on that thread.
  void close(std::function<void()> whenClosed) { connection->close(std::move(whenClosed)); }

  [[nodiscard]] const std::string& busPath() const { return connection->bus().path; }
  [[nodiscard]] bool isGone() const { return connection->isGone(); }
  /// From now on every call answers STATUS_NOT_OK_BAD_HANDLE, and the device is not listed anymore.
  void markGone() { connection->markGone(); }
  /// True once the device did not answer in this request. Until the next walk begins, questions are
  /// answered STATUS_NOT_OK_GENERIC_PLUGIN_ERROR at once, but not that for the storages.
  [[nodiscard]] bool isGivenUp() const { return connection->isGivenUp(); }
  void giveUp() { connection->giveUp(); }
  /// STATUS_OK while the device is open; otherwise the status that every call answers.
  t_status checkOpen() { return connection->checkOpen(); }
  /// The calls of Access.h for this device.
  DeviceCalls& calls() { return *deviceCalls; }

  t_status listStorages(std::vector<DeviceStorage>& storages, WhenBusy whenBusy);
  /// Tells which songs the coming walk will probably find, by their paths.
  void expectSongs(const std::vector<std::string>& paths);
  /// Begins a walk; `count` is set to the number of storages. A device that was given up is asked
  /// again.
  t_status beginWalk(std::uint32_t& count);
  /// Lists a folder into the table of objects, until two listings agree or one is as expected.
  t_status listFolder(std::uint32_t storage, t_track_id folder, std::uint32_t& count);
  void endWalk();

  t_status countPlaylists(std::uint32_t& count);
  /// Makes the members of a playlist the calling thread's track list.
  t_status selectPlaylist(t_track_id playlist);
  /// Makes all tracks the calling thread's track list.
  void resetSelection();
  /// The calling thread's track list.
  std::vector<t_track_id> selectedTracks();
  std::vector<DevicePlaylist> playlists();
  /// Nothing unless `id` is a playlist's.
  std::optional<std::string> playlistName(t_track_id id);

  /// The tags that the device gives for a track; empty texts where it gives none. Asks the device
  /// once for consecutive calls for the same track.
  t_status tags(t_track_id id, DeviceTags& tags, WhenBusy whenBusy);
  /// The tags of the track that was asked for last, without a question; empty for any other.
  DeviceTags knownTags(t_track_id id);
  /// From now on `tags` gives none for this track, without asking, until another track's are read.
  void assumeNoTags(t_track_id id);
  t_status readBytes(const DeviceObject& track, std::uint64_t offset, std::uint32_t length,
                     std::string& bytes);

  /// Calls `use` with the table of objects, under its lock.
  template <class Use>
  auto withObjects(Use use) {
    const MutexLock lock(mutex);
    return use(std::as_const(objects));
  }

 private:
  template <class Value, class Question>
  t_status ask(Question question, Value& value, WhenBusy whenBusy);
  t_status listOnce(std::uint32_t storage, t_track_id folder, std::vector<DeviceObject>& children);
  t_status listUntilTwoAgree(std::uint32_t storage, t_track_id folder,
                             std::vector<DeviceObject>& children);

  /// The tags of the last track that was asked for.
  struct TrackTags {
    t_track_id id;
    DeviceTags tags;
  };

  const std::shared_ptr<DeviceConnection> connection;
  const std::unique_ptr<DeviceCalls> deviceCalls;

  Mutex mutex;
  ObjectTable objects ORVEL_GUARDED_BY(mutex);
  /// Nothing from the beginning of a walk until they are first asked for.
  std::optional<std::vector<DevicePlaylist>> knownPlaylists ORVEL_GUARDED_BY(mutex);
  std::map<std::thread::id, std::vector<t_track_id>> selections ORVEL_GUARDED_BY(mutex);
  std::optional<TrackTags> lastTags ORVEL_GUARDED_BY(mutex);
};

}  // namespace orvel
