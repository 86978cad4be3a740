#include <algorithm>
#include <array>
#include <exception>
#include <memory>
#include <stop_token>
#include <string>
#include <utility>

#include "db/MetaDataInfo.h"
#include "fuzz/InputBytes.h"
#include "fuzz/require.h"
#include "msd/Encoder.h"
#include "tags/SongTag.h"
#include "tags/TagStream.h"
#include "tags/readFile.h"

namespace orvel::fuzz {
namespace {

/// New ones come last: inputs name them by their number.
constexpr std::array kExtensions{".mp3",  ".m4a", ".wma", ".flac", ".wav", ".mpg", ".aac",
                                 ".mpeg", ".asf", ".m4b", ".m4p",  ".m4r", ".mp4"};

class MemoryStream : public TagStream {
 public:
  MemoryStream(const std::string& name, std::string content)
      : TagStream(name, std::stop_token()), bytes(std::move(content)) {
    setSize(static_cast<std::int64_t>(bytes.size()));
  }
  bool isOpen() const override { return true; }

  long readAt(std::int64_t start, char* target, long length) override {
    return static_cast<long>(
        bytes.copy(target, static_cast<std::size_t>(length), static_cast<std::size_t>(start)));
  }

 private:
  std::string bytes;
};

/// Reads a song that is found under `name`, as the miner does.
void mine(const std::string& name, const std::string& content) {
  MemoryStream stream(name, content);
  TagResult read = readFile(stream, ReadingGoal::Tags);
  if (read.outcome != TagResult::Outcome::Tagged) return;
  const SongTag tag(std::move(read.values));
  const std::unique_ptr<MetaDataInfo> song(
      Encoder::instance().guessAndConvert("/m/" + name, "/m", 0, &tag));
  song->setAsianFields();
  for (const std::string& text :
       {song->title, song->artist, song->album, song->genre, song->composer}) {
    require(isUtf8(text) && !hasControls(text), "a stored text is UTF-8 without controls");
  }
  if (song->asianFields == nullptr) return;
  for (std::size_t i = 0; i < 5; ++i) {
    require(isUtf8((*song->asianFields)[i]), "an Asian form is UTF-8");
  }
}

}  // namespace
}  // namespace orvel::fuzz

/// Takes a song file on the way from its bytes to its record. The input is a byte that chooses the
/// extension, and the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orvel::fuzz;
  InputBytes input(data, size);
  const std::string name = std::string("a") + kExtensions[input.below(kExtensions.size())];
  try {
    mine(name, input.rest());
  } catch (const std::exception&) {
    // It costs this song alone.
  }
  return 0;
}
