#pragma once

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

/// Song files that no player would write, made of good ones.
namespace orvel::test {

/// One file: `content`, and beyond it a hole up to `size` where that is larger.
struct BrokenFile {
  std::string name;  ///< tells what is wrong, and ends with the extension
  std::string content;
  std::uint64_t size = 0;
};

using FileSink = std::function<void(BrokenFile)>;

/// A good song in one of the containers and tag forms.
struct GoodSong {
  std::string name;  ///< of the form
  std::string extension;
  std::string content;
};

/// One for each container and tag form, from the seeds of the stick maker.
const std::vector<GoodSong>& goodSongs();

/// Every extension of songs.
const std::vector<std::string>& songExtensions();

/// Makes broken files of one kind each. `most` bounds how many: chance chooses among those that
/// there can be. Where there is no such bound all of them are few.
class BrokenMedia {
 public:
  explicit BrokenMedia(std::mt19937_64 randomBits) : random(randomBits) {}

  /// Cut off after each of the first 4096 bytes.
  void truncated(std::size_t most, const FileSink& sink);
  /// With four bytes anywhere in the first and last KiB, or eight next to a four-character code,
  /// replaced by an extreme number, as big-endian, little-endian and synchsafe sizes.
  void withExtremeSizes(std::size_t most, const FileSink& sink);
  /// With some bytes anywhere changed at random.
  void damaged(std::size_t most, const FileSink& sink);
  /// Nothing but random bytes, with the first bytes of a good file or without.
  void noise(std::size_t most, const FileSink& sink);
  /// Each good file under every extension.
  static void misnamed(const FileSink& sink);
  /// Boxes in boxes, 10000 deep, closed and open.
  static void nested(const FileSink& sink);
  /// ID3v2 frames that expand to 64 MiB, plain, in a chapter, and compressed twice.
  static void bombs(const FileSink& sink);
  /// Tags of 16 MB: one text, one picture, and as many frames, boxes or chunks as there can be.
  static void large(const FileSink& sink);
  /// The beginning of a good file, and a hole of 4 GiB.
  static void sparse(const FileSink& sink);

 private:
  std::size_t below(std::size_t bound);
  const GoodSong& anySong();

  std::mt19937_64 random;
};

}  // namespace orvel::test
