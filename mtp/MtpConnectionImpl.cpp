#include "mtp/MtpConnectionImpl.h"

#include <orvel/AttachedDevices.h>
#include <orvel/MtpDevice.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

#include "base/Limits.h"
#include "base/Log.h"
#include "base/StageThread.h"
#include "phones/ExclusionRules.h"
#include "phones/MtpUtils.h"
#include "phones/retryWhileBusy.h"

namespace orvel {

namespace {

constexpr std::chrono::milliseconds kItemsPause{10};

constexpr char kDefaultDate[] = "THU JAN 1 00:00:00 1970";
/// The library's answer for a missing date.
constexpr std::string_view kMissingDate = "Thu Jan  1 00:00:00 1970";

void logNoDevice() {
  OV_INFO(" - No device inserted");
}

void logRetry(int retry) {
  OV_INFO(" Processing from portix API. count = %d", retry);
}

/// Removes spaces, but no other white space, at both ends.
std::string withoutSpaces(std::string text) {
  text.erase(text.find_last_not_of(' ') + 1);
  text.erase(0, text.find_first_not_of(' '));
  return text;
}

std::string upperCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

}  // namespace

MtpConnection::Impl::Impl(t_handle deviceHandle, const std::string& device)
    : handle(deviceHandle), deviceId(device) {
  setDeviceId(handle, deviceId);
}

bool MtpConnection::Impl::isGone() const {
  return !MtpDevice::instance().isDeviceConnected(handle) || MtpUtils::isGivenUp(handle) ||
         stageThread::stopToken().stop_requested();
}

template <class Call>
t_status MtpConnection::Impl::whileBusy(Call call) {
  if (MtpUtils::isGivenUp(handle)) return call();
  const t_status status = retryWhileBusy(call, logRetry);
  // A request ends within two minutes: only one call of it has the patience for all repetitions.
  const bool isSpent = status == STATUS_BUSY && !stageThread::stopToken().stop_requested();
  if (isSpent) MtpUtils::giveUp(handle);
  return status;
}

/// Pauses after every call, so that the walk leaves the device time for others.
template <class Call>
t_status MtpConnection::Impl::pacedWhileBusy(Call call) {
  return whileBusy([&] {
    const t_status status = call();
    stageThread::sleep(kItemsPause);
    return status;
  });
}

void MtpConnection::Impl::noteFailure(const char* method, t_status status) {
  checkStatus(method, status);
  if (status != STATUS_NOT_SUPPORTED) failure = LeftUndone::ReadError;
}

void MtpConnection::Impl::checkStatus(const std::string& method, t_status status) {
  const char* const name = method.c_str();
  switch (status) {
    case STATUS_NOT_OK:
      OV_INFO(" - Fail to invoke method: %s . - STATUS NOT OK!", name);
      break;
    case STATUS_NOT_SUPPORTED:
      OV_INFO(" - Fail to invoke method: %s . - STATUS NOT SUPPORTED!", name);
      break;
    case STATUS_NOT_OK_BAD_HANDLE:
      OV_INFO(" - Fail to invoke method: %s . - STATUS NOT OK BAD HANDLE!", name);
      break;
    case STATUS_NOT_OK_GENERIC_PLUGIN_ERROR:
      OV_INFO(" - Fail to invoke method: %s . - %s", name, ": STATUS NOT OK GENERIC PLUGIN ERROR!");
      break;
    case STATUS_NOT_OK_PLUGIN_NOT_INITIALIZED:
      OV_INFO(" - Fail to invoke method: %s . - STATUS NOT OK PLUGIN NOT INITIALIZED!", name);
      break;
    default:
      OV_INFO(" - Fail to invoke method: %s . - UNKNOWN ERROR!", name);
  }
}

t_status MtpConnection::Impl::SafeGetNumItems(t_handle device, const t_mtp_container& container,
                                              const t_mtp_item_type& type, std::uint32_t& count) {
  return pacedWhileBusy([&] { return Access_GetNumItems(device, container, type, count); });
}

t_status MtpConnection::Impl::SafeGetItems(t_handle device, const t_mtp_container& container,
                                           const t_mtp_item_type& type, const std::uint32_t& start,
                                           const std::uint32_t& count, t_mtp_item_list& items) {
  return pacedWhileBusy(
      [&] { return Access_GetItems(device, container, type, start, count, items); });
}

std::string MtpConnection::Impl::textOr(t_status status, const char* method, const char* text,
                                        const char* otherwise) {
  if (status != STATUS_OK) {
    noteFailure(method, status);
    return otherwise;
  }
  std::string stripped = withoutSpaces(text);
  return stripped.empty() ? otherwise : stripped;
}

std::string MtpConnection::Impl::getText(TextCall call, const char* method, t_track_id id,
                                         const char* otherwise) {
  std::array<char, kAccessTextBytes> text{};
  return textOr(call(handle, id, text.data()), method, text.data(), otherwise);
}

std::string MtpConnection::Impl::getTrackArtist(t_track_id id) {
  return getText(Access_GetTrackArtist, "Access_GetTrackArtist", id, "Various Artists");
}

std::string MtpConnection::Impl::getTrackAlbum(t_track_id id) {
  return getText(Access_GetTrackAlbum, "Access_GetTrackAlbum", id, "Various Albums");
}

std::string MtpConnection::Impl::getTrackGenre(t_track_id id) {
  return getText(Access_GetTrackGenre, "Access_GetTrackGenre", id, "Various Genre");
}

std::string MtpConnection::Impl::getTrackComposer(t_track_id id) {
  return getText(Access_GetTrackComposer, "Access_GetTrackComposer", id, "Various Composers");
}

std::string MtpConnection::Impl::getTrackFileName(t_track_id id) {
  std::array<char, kAccessTextBytes> text{};
  const t_status status =
      whileBusy([&] { return Access_GetTrackFileName(handle, id, text.data()); });
  return textOr(status, "Access_GetTrackFileName", text.data(), "Various FileName");
}

std::string MtpConnection::Impl::getTrackTitle(t_track_id id) {
  std::array<char, kAccessTextBytes> text{};
  const t_status status = whileBusy([&] { return Access_GetTrackTitle(handle, id, text.data()); });
  std::string title = textOr(status, "Access_GetTrackTitle", text.data(), "");
  if (!title.empty()) return title;
  title = getTrackFileName(id);
  return title.substr(0, title.rfind('.'));
}

std::uint16_t MtpConnection::Impl::getTrackNumber(t_track_id id) {
  std::uint16_t number = 0;
  const t_status status = Access_GetTrackAlbumTrackIndex(handle, id, number);
  if (status != STATUS_OK) noteFailure("Access_GetTrackAlbumTrackIndex", status);
  return number;
}

std::uint64_t MtpConnection::Impl::getTrackFileSize(t_track_id id) {
  std::uint64_t size = 0;
  const t_status status = Access_GetTrackFileSize(handle, id, size);
  if (status != STATUS_OK) checkStatus("Access_GetTrackFileSize", status);
  return size;
}

std::string MtpConnection::Impl::getTrackDateModified(t_track_id id) {
  constexpr std::size_t kTensOfDay = 8;
  std::array<char, kAccessTextBytes> text{};
  const t_status status = Access_GetTrackDateModified(handle, id, text.data());
  if (status != STATUS_OK) {
    checkStatus("Access_GetTrackDateModified", status);
    return kDefaultDate;
  }
  std::string date = text.data();
  if (date == kMissingDate) return kDefaultDate;
  if (date.size() > kTensOfDay && date[kTensOfDay] == ' ') date[kTensOfDay] = '0';
  return date;
}

std::int32_t MtpConnection::Impl::getTrackDateModifiedEpoch(t_track_id id) {
  const std::string date = getTrackDateModified(id);
  std::tm parts{};
  // The apostrophes match no real date, but changing them would change every stored date.
  strptime(date.c_str(), "%a' '%b' '%d' '%H:%M:%S' '%Y", &parts);
  return static_cast<std::int32_t>(std::mktime(&parts));
}

std::string MtpConnection::Impl::getTrackFilePath(t_track_id id) {
  return MtpUtils::getRawPathForMtpObject(handle, id);
}

std::string MtpConnection::Impl::getMTPTrackId(unsigned id, const std::string& device) {
  return MtpUtils::getObjectIdForMtpTrack(id, device);
}

std::size_t MtpConnection::Impl::getNumElements(t_content_categories category) {
  OV_INFO("category:%d", static_cast<int>(category));
  if (handle == 0) {
    logNoDevice();
    return 0;
  }
  std::uint32_t count = 0;
  const t_status status = Access_GetNumElements(handle, category, count);
  if (status != STATUS_OK) {
    checkStatus("Access_GetNumElements", status);
    doubt("");
  }
  return count;
}

t_playlist_items_list MtpConnection::Impl::getPlaylistElements(t_content_categories category,
                                                               int count) {
  OV_INFO("category:%d", static_cast<int>(category));
  t_playlist_items_list elements{};
  t_status status = Command_ResetCategory(handle);
  if (status != STATUS_OK) checkStatus("Command_ResetCategory", status);
  if (handle == 0) {
    logNoDevice();
    return elements;
  }
  if (count == 0) count = static_cast<int>(getNumElements(category));
  if (count <= 0) return elements;
  const auto wanted = static_cast<std::uint32_t>(count);
  status = Access_GetPlaylistElements(handle, category, 0, wanted, elements);
  if (status != STATUS_OK) checkStatus("Access_GetPlaylistElements", status);
  if (status != STATUS_OK || elements.count < wanted) doubt("");
  return elements;
}

t_playlist_items_list MtpConnection::Impl::getPlaylistContent(unsigned index) {
  t_playlist_items_list members{};
  t_status status = Command_ResetCategory(handle);
  if (status != STATUS_OK) {
    checkStatus("Command_ResetCategory - Playlist", status);
    doubt("");
    return members;
  }
  status = Command_SelectCategory(handle, CATEGORY_PLAYLISTS, index);
  if (status != STATUS_OK) {
    checkStatus("Command_SelectCategory - Playlist", status);
    doubt("");
    return members;
  }
  const auto count = static_cast<std::uint32_t>(getNumElements(CATEGORY_TRACKS));
  status = Access_GetPlaylistElements(handle, CATEGORY_TRACKS, 0, count, members);
  if (status != STATUS_OK) checkStatus("Access_GetPlaylistElements", status);
  if (status != STATUS_OK || members.count < count) doubt("");
  return members;
}

bool MtpConnection::Impl::loadDeviceData(t_playlist_items_list& tracks,
                                         t_playlist_items_list& playlists) {
  OV_VERBOSE("loadDeviceData");
  if (!MtpDevice::instance().isDeviceConnected(handle)) {
    OV_ERROR("Device with handle %d disconnected or not found", static_cast<int>(handle));
    return false;
  }
  std::uint32_t trackCount = 0;
  std::uint32_t playlistCount = 0;
  if (Access_GetNumElements(handle, CATEGORY_TRACKS, trackCount) != STATUS_OK ||
      Access_GetNumElements(handle, CATEGORY_PLAYLISTS, playlistCount) != STATUS_OK) {
    OV_INFO(" - Error while getting num elements");
    return false;
  }
  const std::uint32_t maxTracks = limits().songs;
  reachedLimit = trackCount > maxTracks;
  tracks = getPlaylistElements(CATEGORY_TRACKS, static_cast<int>(std::min(trackCount, maxTracks)));
  playlists = getPlaylistElements(CATEGORY_PLAYLISTS, static_cast<int>(playlistCount));
  OV_INFO("Content for device(%u | handle %d) loaded from Portix", trackCount + playlistCount,
          static_cast<int>(handle));
  return true;
}

bool MtpConnection::Impl::isHiddenFile(const std::string& path) {
  return isHiddenPath(path);
}

bool MtpConnection::Impl::isExcludedFile(const std::string& name) {
  return hasExcludedEnding(name);
}

bool MtpConnection::Impl::isDirectoryBlacklisted(std::string folderName) {
  static constexpr std::array<std::string_view, 12> kBlacklist = {
      ".TRASH",   "DCIM",   "SAMSUNG", "RINGTONES", "ALARMS", "NOTIFICATIONS",
      "PICTURES", "MOVIES", "ANDROID", "VIDEOS",    "TEXTS",  "SYSTEM"};
  const std::string name = upperCase(std::move(folderName));
  return std::find(kBlacklist.begin(), kBlacklist.end(), name) != kBlacklist.end();
}

}  // namespace orvel
