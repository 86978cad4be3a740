#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "phones/DeviceTypes.h"

namespace orvel {

/// The tags that were read from a track's own bytes; UTF-8, empty where there is none.
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

 private:
  std::string title;
  std::string artist;
  std::string album;
  std::string genre;
  std::string composer;
  std::uint16_t trackNumber = 0;
};

/// What the device-access library knows beyond the device's own answers. Any thread.
class MtpUtils {
 public:
  /// The path of an object from the root of the device, as "/Music/A/x.mp3"; "" when it is unknown.
  /// Objects of a storage other than the one with the lowest id lie below "/" and the description
  /// of their storage.
  static std::string getRawPathForMtpObject(t_handle handle, t_track_id id);

  /// An identifier that stays the same when the device is attached again: a digest of device id,
  /// storage and path. "" when the device id or the track is unknown.
  static std::string getObjectIdForMtpTrack(t_track_id id, const std::string& deviceId);

  /// The path under which a track or playlist is stored: `rawPath` itself, and for a playlist
  /// ("mtp-playlist://" and its id) `rawPath`, "/" and the playlist's name.
  static std::string getPathForMtpTrack(t_track_id id, const std::string& deviceId,
                                        const std::string& rawPath);

  /// Whether the device itself gives tags for this track. When it does not, or cannot be asked, the
  /// calls of Access.h for the track's tags give empty ones and ask nothing.
  static bool deviceHasMetadata(t_track_id id, t_handle handle);

  /// Reads the tags from the track's own bytes; false when it has none or cannot be read.
  static bool getMetadataFromMTPFile(t_track_id id, CTrackInfo& info, t_handle handle);
};

}  // namespace orvel
