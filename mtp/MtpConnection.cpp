#include "mtp/MtpConnection.h"

#include "db/MetaDataInfo.h"
#include "db/MtpDirectory.h"
#include "db/Playlist.h"
#include "mtp/MtpConnectionImpl.h"

namespace orvel {

MtpConnection::MtpConnection(t_handle handle, const std::string& deviceId)
    : impl(std::make_unique<Impl>(handle, deviceId)) {}

MtpConnection::~MtpConnection() = default;

std::string MtpConnection::getTrackFilePath(t_track_id id) {
  return impl->getTrackFilePath(id);
}

bool MtpConnection::loadDeviceData(t_playlist_items_list& tracks,
                                   t_playlist_items_list& playlists) {
  return impl->loadDeviceData(tracks, playlists);
}

std::int32_t MtpConnection::getTrackDateModifiedEpoch(t_track_id id) {
  return impl->getTrackDateModifiedEpoch(id);
}

std::unique_ptr<MtpDirectory> MtpConnection::generateDirectory(const std::string& path,
                                                               const std::string& deviceKey,
                                                               const std::string& rootName) {
  return impl->generateDirectory(path, deviceKey, rootName);
}

std::unique_ptr<MetaDataInfo> MtpConnection::generateTrack(const std::string& path,
                                                           const std::string& key, t_track_id id,
                                                           std::time_t modified) {
  return impl->generateTrack(path, key, id, modified);
}

std::unique_ptr<Playlist> MtpConnection::generatePlaylist(const std::string& owner,
                                                          const std::string& key,
                                                          std::size_t index) {
  return impl->generatePlaylist(owner, key, index);
}

bool MtpConnection::crawlMtpDevice() {
  return impl->crawlMtpDevice();
}

void MtpConnection::MTPCreateDirCache(std::vector<std::string>& dirs,
                                      t_playlist_items_list& tracks) {
  impl->MTPCreateDirCache(dirs, tracks);
}

bool MtpConnection::isComplete() const {
  return impl->isComplete();
}

const std::vector<std::string>& MtpConnection::doubtfulFolders() const {
  return impl->doubtfulFolders();
}

std::optional<LeftUndone> MtpConnection::trackFailure() const {
  return impl->trackFailure();
}

bool MtpConnection::limitReached() const {
  return impl->limitReached();
}

}  // namespace orvel
