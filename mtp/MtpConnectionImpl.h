#pragma once

#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "framework/RequestProgress.h"
#include "mtp/MtpConnection.h"
#include "mtp/PagedListing.h"
#include "phones/Access.h"
#include "phones/MtpUtils.h"
#include "phones/OwnedList.h"

namespace orvel {

/// Implements the operations of `MtpConnection` under the same names. Three files define it: access
/// to the device and its lists (MtpConnectionImpl.cpp), the walk (MtpFileTree.cpp) and the records
/// (MtpRecords.cpp).
class MtpConnection::Impl {
 public:
  Impl(t_handle deviceHandle, const std::string& device);

  std::string getTrackFilePath(t_track_id id);
  bool loadDeviceData(t_playlist_items_list& tracks, t_playlist_items_list& playlists);
  std::int32_t getTrackDateModifiedEpoch(t_track_id id);
  std::unique_ptr<MtpDirectory> generateDirectory(const std::string& path,
                                                  const std::string& deviceKey,
                                                  const std::string& rootName);
  std::unique_ptr<MetaDataInfo> generateTrack(const std::string& path, const std::string& key,
                                              t_track_id id, std::time_t modified);
  std::unique_ptr<Playlist> generatePlaylist(const std::string& owner, const std::string& key,
                                             std::size_t index);
  bool crawlMtpDevice();
  void MTPCreateDirCache(std::vector<std::string>& dirs, t_playlist_items_list& tracks);

  /// Logs why a call of the library failed.
  static void checkStatus(const std::string& method, t_status status);

  std::size_t getNumElements(t_content_categories category);
  t_playlist_items_list getPlaylistElements(t_content_categories category, int count);
  t_playlist_items_list getPlaylistContent(unsigned index);
  std::string getMTPTrackId(unsigned id, const std::string& device);

  /// "THU JAN 1 00:00:00 1970" when unknown.
  std::string getTrackDateModified(t_track_id id);
  std::string getTrackTitle(t_track_id id);
  std::string getTrackArtist(t_track_id id);
  std::string getTrackAlbum(t_track_id id);
  std::string getTrackGenre(t_track_id id);
  std::string getTrackComposer(t_track_id id);
  std::string getTrackFileName(t_track_id id);
  std::uint16_t getTrackNumber(t_track_id id);
  /// In bytes.
  std::uint64_t getTrackFileSize(t_track_id id);

  // Repeat the call while the device is busy, for about 81 seconds at most.
  t_status SafeGetNumItems(t_handle device, const t_mtp_container& container,
                           const t_mtp_item_type& type, std::uint32_t& count);
  t_status SafeGetItems(t_handle device, const t_mtp_container& container,
                        const t_mtp_item_type& type, const std::uint32_t& start,
                        const std::uint32_t& count, t_mtp_item_list& items);

  [[nodiscard]] const std::vector<std::string>& doubtfulFolders() const { return doubtful; }
  [[nodiscard]] bool isComplete() const { return doubtful.empty(); }
  [[nodiscard]] std::optional<LeftUndone> trackFailure() const { return failure; }
  [[nodiscard]] bool limitReached() const { return reachedLimit; }

  static bool isHiddenFile(const std::string& path);
  static bool isExcludedFile(const std::string& name);
  static bool isDirectoryBlacklisted(std::string folderName);

 private:
  struct Folder;
  using TextCall = t_status (*)(t_handle, t_track_id, char*);

  // The walk. Each returns false when it must end, unless noted otherwise.
  /// Lists a folder and walks into the folders in it.
  bool MTPFileTree(int device, const int& storageId, const int& folderId, bool isRoot);
  /// Whether a folder is not entered: it lies too deep, or the walk is inside it already.
  [[nodiscard]] bool isTooDeepOrOpen(int folderId) const;
  /// True when a call's status ends the walk; logs it then.
  static bool endsWalk(t_status status);
  bool walkPages(const Folder& folder, PagedListing listing);
  /// Counts the folder again after a short read; false when its rest was given up.
  bool settleShortRead(const Folder& folder, PagedListing& listing);
  void recount(const Folder& folder, PagedListing& listing);
  void giveUp(const Folder& folder, const PagedListing& listing);
  bool visitAll(const Folder& folder, const OwnedItems& page);
  bool visit(const Folder& folder, const t_mtp_item& item);

  /// The tags of a track: from the device, or else from the track's own bytes, then with the
  /// number.
  CTrackInfo readInfo(t_track_id id);
  CTrackInfo readBytes(t_track_id id);
  /// Logs a call that failed. A device that does not support it has told all that it has.
  void noteFailure(const char* method, t_status status);
  /// Repeats a call while the device is busy, unless the device was given up.
  template <class Call>
  t_status whileBusy(Call call);
  template <class Call>
  t_status pacedWhileBusy(Call call);
  /// Notes that the device may hold more in a folder than was listed; "" for all of it.
  void doubt(std::string folder) { doubtful.push_back(std::move(folder)); }
  void doubt(const Folder& folder);

  std::string getText(TextCall call, const char* method, t_track_id id, const char* otherwise);
  /// Returns the text that a call wrote without spaces at its ends; `otherwise` when the call
  /// failed or nothing is left.
  std::string textOr(t_status status, const char* method, const char* text, const char* otherwise);
  /// True when loops must end: the device is gone or given up, or the calling stage was stopped.
  [[nodiscard]] bool isGone() const;

  t_handle handle;
  const std::string& deviceId;
  std::vector<int> ancestors;         ///< the folders that the walk has entered and not left
  std::vector<std::string> doubtful;  ///< folders that were not listed completely
  std::optional<LeftUndone> failure;  ///< of the last track
  bool reachedLimit = false;
};

}  // namespace orvel
