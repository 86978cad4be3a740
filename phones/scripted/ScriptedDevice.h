#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "phones/DeviceSession.h"

namespace orvel::scripted {

/// One object on a described device.
struct ScriptedObject {
  enum class Kind { Folder, Track, File, Playlist };

  Kind kind = Kind::File;
  std::uint32_t storage = 0;
  std::string path;        ///< see ScriptedPath
  std::string target;      ///< of a folder: the path of the folder that it is in truth
  std::uint64_t size = 0;  ///< in bytes; that of the content where this is larger
  std::time_t modified = 0;
  std::optional<DeviceTags> tags;  ///< what the device itself tells about a track
  std::string content;             ///< a track's bytes
  std::string file;                ///< the file that holds a track's bytes; empty: `content` does
  /// Of a playlist: paths, on its own storage first, also of tracks that are not there.
  std::vector<std::string> members;
};

inline constexpr unsigned kForEver = std::numeric_limits<unsigned>::max();

/// Something that a device does wrong.
struct Fault {
  enum class Effect {
    Answer,  ///< answers `status`
    Remove,  ///< leaves the bus
    Block,   ///< waits until it is released, at most `bound`, and goes on
    Items,   ///< gives at most `items`; for kAtCount: reports `items`
  };

  /// Where it happens: the name of a call of the library ("Access_GetItems"), of a function of
  /// DeviceSession ("listFolder"), or one of the below. Calls of the library can only answer or
  /// remove.
  std::string at;
  Effect effect = Effect::Answer;
  /// Only when it concerns the object with this path; "/" for the root of any storage.
  std::string path = {};
  unsigned from = 1;   ///< the first such call that fails, from 1 on
  unsigned times = 1;  ///< how many calls fail
  t_status status = STATUS_NOT_OK;
  std::uint32_t items = 0;
  std::chrono::milliseconds bound = std::chrono::seconds(60);
};
inline constexpr char kAtAnyCall[] = "any";  ///< any call of the library
inline constexpr char kAtCount[] = "count";  ///< how many items a container says that it has
inline constexpr char kAtPage[] = "page";    ///< one page of a container's items

/// A described device in place of a real one: its identity, its contents and the faults that it
/// does wrong. A plain value. A reference to an added object or fault holds until the next is
/// added.
struct ScriptedDevice {
  std::uint16_t vendor = 0x18d1;
  std::uint16_t product = 0x4ee1;
  std::string maker = "Orvel";
  std::string model = "Scripted";
  std::string serial;
  /// Whether every object gets another id each time that the device is plugged in.
  bool renumbers = false;
  std::vector<DeviceStorage> storages;
  std::vector<ScriptedObject> objects;  ///< listed in this order
  std::vector<Fault> faults;

  /// Objects are added to the storage that was added last; the first comes by itself.
  DeviceStorage& addStorage(const std::string& description);
  // Each adds the missing folders above; throws std::invalid_argument for a path that is none.
  ScriptedObject& addFolder(const std::string& path) {
    return add(ScriptedObject::Kind::Folder, path);
  }
  ScriptedObject& addTrack(const std::string& path) {
    return add(ScriptedObject::Kind::Track, path);
  }
  ScriptedObject& addFile(const std::string& path) { return add(ScriptedObject::Kind::File, path); }
  /// The playlist's name is that of the path.
  ScriptedObject& addPlaylist(const std::string& path, std::vector<std::string> members);
  Fault& addFault(const Fault& fault) { return faults.emplace_back(fault); }

  /// The first object with this path; null when there is none.
  ScriptedObject* find(const std::string& path);

 private:
  ScriptedObject& add(ScriptedObject::Kind kind, const std::string& path);
  void addFoldersAbove(const std::string& path);
  [[nodiscard]] bool holds(std::uint32_t storage, const std::string& path) const;
};

}  // namespace orvel::scripted
