#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/Mutex.h"
#include "phones/DeviceBus.h"
#include "phones/DeviceThread.h"
#include "phones/ObjectTable.h"

namespace orvel {

/// One attached device: its session, the thread that carries it, and what is known of the device
/// without asking it again. Any thread.
class Device : public std::enable_shared_from_this<Device> {
 public:
  /// How a call deals with a device that is busy.
  enum class WhenBusy {
    Answer,  ///< answers STATUS_BUSY: the caller repeats the call
    Wait     ///< waits until the device is free
  };

  Device(t_handle deviceHandle, deviceBus::BusDevice busDevice);

  /// Opens the device unless it is open, and describes it as hosts see it.
  AttachedDevice describe();
  /// Ends the session once the device's thread is free, and then calls `whenClosed` there.
  void close(std::function<void()> whenClosed);

  [[nodiscard]] const std::string& busPath() const { return bus.path; }
  [[nodiscard]] bool isGone() const { return gone; }
  /// From now on every call answers STATUS_NOT_OK_BAD_HANDLE; leaves the list of devices, once.
  void markGone();

  /// What the implementation has to say before a call begins.
  t_status enterCall(const char* call);
  std::uint32_t countItems(const t_mtp_container& of, std::uint32_t present);
  std::uint32_t pageItems(const t_mtp_container& of, std::uint32_t start, std::uint32_t present);

  t_status listStorages(std::vector<DeviceStorage>& storages, WhenBusy whenBusy);
  /// Begins a walk: `count` is the number of storages.
  t_status beginWalk(std::uint32_t& count);
  /// Lists a folder into the table. One that fails to be listed has its last known children.
  t_status listFolder(std::uint32_t storage, t_track_id folder, std::uint32_t& count);
  void endWalk();

  t_status countPlaylists(std::uint32_t& count);
  t_status selectPlaylist(t_track_id playlist);
  void resetSelection();
  /// The calling thread's track list: the members of its selected playlist, or all tracks.
  std::vector<t_track_id> selectedTracks();
  std::vector<DevicePlaylist> playlists();

  /// The name of a playlist of this id; nothing when there is none.
  std::optional<std::string> playlistName(t_track_id id);
  /// The tags that the device gives for a track, empty texts where it gives none. The last track's
  /// are kept.
  t_status tags(t_track_id id, DeviceTags& tags, WhenBusy whenBusy);
  /// Keeps the track number that was read from the track's own bytes.
  void keepTrackNumber(t_track_id id, std::uint16_t number);
  t_status readBytes(const DeviceObject& track, std::uint64_t offset, std::uint32_t length,
                     std::string& bytes);

  /// Calls `use` with the table of objects, under its lock.
  template <class Use>
  auto withObjects(Use use) {
    const MutexLock lock(mutex);
    return use(std::as_const(objects));
  }

 private:
  template <class Value>
  using Question = std::function<t_status(DeviceSession&, Value&)>;
  template <class Value>
  t_status ask(Question<Value> question, Value& value, WhenBusy whenBusy);
  template <class Value>
  t_status askOnce(const Question<Value>& question, Value& value, DeviceThread::Patience patience);
  /// Once, when the device is gone.
  void leave();
  /// That the device is gone; nobody is told before the removal listener was.
  t_status answerGone();
  t_status answerTo(const std::function<t_status(DeviceSession&)>& question);
  void open();
  void dropSession();
  /// Null when the device is not open.
  std::shared_ptr<DeviceSession> openSession();

  const t_handle handle;
  const deviceBus::BusDevice bus;
  std::atomic<bool> gone{false};
  std::once_flag removal;
  DeviceThread thread;

  Mutex mutex;
  std::shared_ptr<DeviceSession> session ORVEL_GUARDED_BY(mutex);  ///< null until it is open
  DeviceDescription description ORVEL_GUARDED_BY(mutex);
  ObjectTable objects ORVEL_GUARDED_BY(mutex);
  /// Read when they are first asked for after a walk.
  std::optional<std::vector<DevicePlaylist>> knownPlaylists ORVEL_GUARDED_BY(mutex);
  std::map<std::thread::id, std::vector<t_track_id>> selections ORVEL_GUARDED_BY(mutex);
  std::optional<std::pair<t_track_id, DeviceTags>> lastTags ORVEL_GUARDED_BY(mutex);
};

}  // namespace orvel
