#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "phones/DeviceTypes.h"
#include "tags/TagResult.h"

namespace orvel {

/// What is known of a track beside its five texts and its number.
struct TrackDetails {
  std::uint32_t milliseconds = 0;  ///< length of the sound, 0 when unknown
  std::uint32_t year = 0;          ///< 0 when unknown
  std::string albumArtist;
  std::optional<bool> hasPicture;  ///< in its bytes; nothing when these were not read
};

/// The tags of a track. Texts are UTF-8 and empty where the track has none.
class CTrackInfo {
 public:
  CTrackInfo() = default;
  CTrackInfo(std::string trackTitle, std::string trackArtist, std::string trackAlbum,
             std::string trackGenre, std::string trackComposer, std::uint16_t number = 0)
      : title(std::move(trackTitle)),
        artist(std::move(trackArtist)),
        album(std::move(trackAlbum)),
        genre(std::move(trackGenre)),
        composer(std::move(trackComposer)),
        trackNumber(number) {}

  [[nodiscard]] const std::string& getTitle() const { return title; }
  [[nodiscard]] const std::string& getArtist() const { return artist; }
  [[nodiscard]] const std::string& getAlbum() const { return album; }
  [[nodiscard]] const std::string& getGenre() const { return genre; }
  [[nodiscard]] const std::string& getComposer() const { return composer; }
  /// 0 when unknown.
  [[nodiscard]] std::uint16_t getTrackNumber() const { return trackNumber; }

  TrackDetails details;

 private:
  std::string title;
  std::string artist;
  std::string album;
  std::string genre;
  std::string composer;
  std::uint16_t trackNumber = 0;
};

/// Paths, identifiers and tags that the device-access library derives from the device's answers.
/// Any thread.
class MtpUtils {
 public:
  /// The path of an object from the root of the device, for example "/Music/A/x.mp3"; "" when the
  /// object is unknown. Paths begin with "/" and the description of the storage, except in the
  /// storage with the lowest id.
  static std::string getRawPathForMtpObject(t_handle handle, t_track_id id);

  /// An identifier that is the same in every session: a digest of device id, storage and path. ""
  /// when the device id or the track is unknown.
  static std::string getObjectIdForMtpTrack(t_track_id id, const std::string& deviceId);

  /// The path under which a track or playlist is stored: `rawPath` for a track; `rawPath`, "/" and
  /// the playlist's name for a playlist, whose `rawPath` is "mtp-playlist://" and its id.
  static std::string getPathForMtpTrack(t_track_id id, const std::string& deviceId,
                                        const std::string& rawPath);

  /// Whether the device itself has tags for this track. If not, or if it cannot be asked, the tag
  /// calls of Access.h answer empty tags for this track without another request. `status` is
  /// STATUS_OK unless the device failed to answer.
  static bool deviceHasMetadata(t_track_id id, t_handle handle, t_status& status);

  /// The details that the device told with the tags of this track, without another request.
  static TrackDetails detailsOfDevice(t_track_id id, t_handle handle);

  /// Whether the folder of a track has a picture file that is its cover.
  static bool hasFolderPicture(t_track_id id, t_handle handle);

  /// Reads the tags from the track's own bytes into `info`, which it leaves alone unless the
  /// outcome is `Tagged`.
  static TagResult::Outcome getMetadataFromMTPFile(t_track_id id, CTrackInfo& info,
                                                   t_handle handle);

  /// Tells which songs the coming walk will probably find, by their paths: a folder that holds
  /// these and no others is listed once, any other until two listings agree.
  static void expectSongs(t_handle handle, const std::vector<std::string>& paths);

  /// True once the device did not answer kMaxTimeouts requests in a row: until the next walk begins
  /// nothing can be read from it.
  static bool isGivenUp(t_handle handle);
  /// Gives the device up in the same way.
  static void giveUp(t_handle handle);
};

}  // namespace orvel
