#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/mtp/responder/PtpCodes.h"

namespace orvel::test {

/// The texts of a track that the device itself knows.
struct TrackTags {
  std::string title = {};
  std::string artist = {};
  std::string album = {};
  std::string genre = {};
  std::string composer = {};
  std::uint16_t number = 0;
};

/// The bytes of a file; shared, so that thousands of files may have the same.
using FileContent = std::shared_ptr<const std::string>;
FileContent fileContent(std::string bytes);

struct MediaStorage {
  std::uint32_t id = 0;
  std::string description;
  std::uint64_t capacity = 64ULL << 30;
  std::uint64_t freeBytes = 32ULL << 30;
};

/// A folder, file or playlist on a device. Any field may be given values that no good device sends.
struct MediaObject {
  std::uint32_t handle = 0;
  std::uint32_t storage = 0;
  std::uint32_t parent = 0;  ///< 0 in the root
  std::u16string name;
  std::uint16_t format = ptp::kUndefined;
  std::uint64_t size = 0;  ///< beyond `content` zeros are read
  FileContent content;
  std::string modified = "20240301T120000";
  TrackTags tags;                         ///< of a playlist: its name as title
  std::vector<std::uint32_t> references;  ///< the members of a playlist, in their order
};

/// What is on a device. Paths begin with "/"; folders that are missing are created.
class Media {
 public:
  /// Returns the storage's id: 0x00010001 for the first, 0x00020001 for the second and so on.
  std::uint32_t addStorage(const std::string& description);
  std::uint32_t addFolder(std::uint32_t storage, const std::string& path);
  /// A file that the device itself knows nothing about.
  std::uint32_t addFile(std::uint32_t storage, const std::string& path,
                        const FileContent& content = nullptr,
                        std::uint16_t format = ptp::kUndefined);
  /// A file of an audio format with texts that the device knows; the format follows from the
  /// extension.
  std::uint32_t addTrack(std::uint32_t storage, const std::string& path, const TrackTags& tags,
                         const FileContent& content = nullptr);
  std::uint32_t addPlaylist(std::uint32_t storage, const std::string& path, const std::string& name,
                            const std::vector<std::uint32_t>& members);
  /// Removes an object with all that is in it.
  void remove(std::uint32_t handle);
  /// Gives all objects new handles, as some devices do when they are attached again.
  void renumber();

  /// Null if there is none.
  [[nodiscard]] MediaObject* find(std::uint32_t handle);
  /// The object at a path; 0 if there is none.
  [[nodiscard]] std::uint32_t handleOf(std::uint32_t storage, const std::string& path) const;
  /// In the order in which they were added; a parent of 0 stands for the root.
  [[nodiscard]] std::vector<std::uint32_t> children(std::uint32_t storage,
                                                    std::uint32_t parent) const;
  [[nodiscard]] const std::map<std::uint32_t, MediaObject>& objects() const { return byHandle; }
  [[nodiscard]] const std::vector<MediaStorage>& storages() const { return storageList; }

 private:
  MediaObject& add(std::uint32_t storage, const std::string& path);

  std::vector<MediaStorage> storageList;
  std::map<std::uint32_t, MediaObject> byHandle;
  std::map<std::pair<std::uint32_t, std::string>, std::uint32_t> byPath;
  std::uint32_t lastHandle = 0;
};

/// The object format of a file with this name; `ptp::kUndefined` if it is not audio.
std::uint16_t audioFormat(const std::string& name);

}  // namespace orvel::test
