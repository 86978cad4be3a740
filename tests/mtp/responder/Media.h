#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/mtp/responder/PtpCodes.h"

namespace orvel::test {

/// The texts of a track that the device itself knows, in UTF-16.
struct TrackTags {
  std::u16string title = {};
  std::u16string artist = {};
  std::u16string album = {};
  std::u16string genre = {};
  std::u16string composer = {};
  std::uint16_t number = 0;
};

/// A folder, file or playlist on a device. Any field may be given values that no good device sends.
struct MediaObject {
  std::uint32_t storage = 0;
  std::uint32_t parent = 0;  ///< 0 in the root
  std::u16string name;
  std::uint16_t format = ptp::kUndefined;
  std::string content;
  std::uint64_t size = 0;
  std::u16string modified = u"20240301T120000";
  TrackTags tags;                         ///< of a playlist: its name as title
  std::vector<std::uint32_t> references;  ///< the members of a playlist, in their order
};

/// The contents of a device. Paths begin with "/"; missing folders are created.
struct Media {
  std::vector<std::u16string> storages;  ///< their descriptions
  std::map<std::uint32_t, MediaObject> objects;

  /// 0x00010001 for the first storage, 0x00020001 for the second and so on.
  static std::uint32_t storageId(std::size_t index) {
    return static_cast<std::uint32_t>((index + 1) << 16 | 1);
  }
  std::uint32_t addStorage(const std::u16string& description);
  /// Returns the object's handle, as the two below do.
  std::uint32_t add(std::uint32_t storage, const std::string& path,
                    std::uint16_t format = ptp::kUndefined, const std::string& content = {});
  /// A file whose tags the device knows; its format follows from its name.
  std::uint32_t addTrack(std::uint32_t storage, const std::string& path, const TrackTags& tags,
                         const std::string& content = {});
  std::uint32_t addPlaylist(std::uint32_t storage, const std::string& path,
                            const std::u16string& name, const std::vector<std::uint32_t>& members);
  /// Gives all objects new handles, as some devices do when they are attached again.
  void renumber();

 private:
  std::uint32_t folderAbove(std::uint32_t storage, const std::string& path);

  std::map<std::pair<std::uint32_t, std::string>, std::uint32_t> folders;
  std::uint32_t lastHandle = 0;
};

}  // namespace orvel::test
