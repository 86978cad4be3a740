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

/// Makes broken files of one kind each; `most` says how many, where chance decides.
class BrokenMedia {
 public:
  explicit BrokenMedia(std::mt19937_64 randomBits) : random(randomBits) {}

  /// With some bytes changed, some sizes replaced by extreme ones, or cut off, mostly near the
  /// start; some of them under another extension.
  void damaged(std::size_t most, const FileSink& sink);
  /// Boxes in boxes, 10000 deep, closed and open.
  static void nested(const FileSink& sink);
  /// ID3v2 frames that expand to 64 MiB, in every place, and many that make the parser read all
  /// others.
  static void bombs(const FileSink& sink);
  /// Tags of 16 MB: one picture, one text, and as many texts, frames or boxes as there can be.
  static void large(const FileSink& sink);
  /// The beginning of a good file, and a hole of 4 GiB.
  static void sparse(const FileSink& sink);

 private:
  std::size_t below(std::size_t bound);
  const GoodSong& anySong();
  const std::string& anyExtension();
  char anyByte();
  /// A place in `content`, every other time in its first bytes.
  std::size_t anywhere(const std::string& content);

  std::mt19937_64 random;
};

}  // namespace orvel::test
