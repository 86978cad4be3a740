#pragma once

#include <orvel/Export.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace orvel {

class CoverFetch;

/// The formats of pictures that Orvel hands out.
enum class PictureType : unsigned char { Jpeg, Png, WebP, Gif, Bmp };

/// Fetches the cover of one song from its device, in the background, without the database: the
/// picture in the song itself, the front cover before others, or else the best picture file beside
/// it ("cover", "folder", "front" or "album" with the ending of a picture).
///
/// The picture is not decoded. Its bytes come from strangers: their type and dimensions were
/// checked in the header, within the bounds below, and the caller's decoder has to cope with the
/// rest. Songs are parsed as `Settings::tagReading` says, and nothing leads off the device.
///
/// Orvel keeps no picture. Fetches from one device run one after the other, in the order of their
/// construction, on a thread of Orvel's that ends when none is left; a device that does not answer
/// keeps no other waiting. They have the ordinary priority.
///
/// Construct, cancel and destroy it on any thread, also within `receive`.
class ORVEL_EXPORT Cover {
 public:
  /// Larger pictures are refused.
  static constexpr std::size_t kMostBytes = std::size_t{8} << 20;
  static constexpr std::uint32_t kMostPixelsASide = 4096;

  /// Names a song as the database does.
  struct Song {
    /// PARTITIONS.MOUNTPOINT. For a phone "mtp-folder://" and the id that the host gave it with
    /// `setDeviceId`; its songs are known once a request of this process has listed them.
    std::string mountPoint;
    std::string path;  ///< SONGS.PATH
  };

  enum class Outcome : unsigned char {
    Found,         ///< `picture` holds it
    None,          ///< the song has no cover
    Refused,       ///< it has one, but of no known type, or too large
    NotThere,      ///< no such song, it leads off its device, or the device is not attached
    Unreadable,    ///< the song cannot be read or parsed, and no picture file lies beside it
    DeviceFailed,  ///< the device does not deliver the song or its folder
    Failed         ///< no reader can be started, or none with the isolation that is required
  };

  struct Picture {
    PictureType type = PictureType::Jpeg;
    std::uint32_t width = 0;   ///< in pixels, at least 1
    std::uint32_t height = 0;  ///< in pixels, at least 1
    bool isEmbedded = false;   ///< it comes from the song itself
    std::string bytes;         ///< the whole file
  };

  struct Result {
    Outcome outcome = Outcome::None;
    Picture picture;
  };

  /// Takes the result. Must not throw, and should return soon: the device's next fetch waits.
  using Receiver = std::function<void(Result result)>;

  /// Begins to fetch the cover of `song`. Calls `receive` once, on a thread of Orvel's, unless it
  /// is cancelled before. Throws std::system_error when no thread can be started.
  Cover(Song song, Receiver receive);
  /// Cancels.
  ~Cover();
  Cover(const Cover&) = delete;
  Cover& operator=(const Cover&) = delete;

  /// When it returns, `receive` is not being called, unless by this very thread, and never will be.
  /// Waits for a call of `receive` under way, and for nothing else.
  void cancel();

 private:
  std::shared_ptr<CoverFetch> fetch;
};

}  // namespace orvel
