#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "fuzz/InputBytes.h"
#include "fuzz/require.h"
#include "isolation/ResultPipe.h"
#include "tags/PictureHeader.h"
#include "tags/TagMessages.h"

namespace orvel::fuzz {
namespace {

using namespace tagMessages;

void requireBounded(const Result& result) {
  const TagValues& values = result.result.values;
  for (const TagLib::String* text : {&values.title, &values.artist, &values.album, &values.genre,
                                     &values.composer, &values.albumArtist}) {
    require(text->size() <= TagValues::kMostUnits, "a text is bounded");
  }
  for (const TagLib::String& text : values.sort) {
    require(text.size() <= TagValues::kMostUnits, "a sort form is bounded");
  }
  require(values.disc >= 0, "a disc has no negative number");
  const std::string& picture = result.result.picture.bytes;
  require(picture.empty() || pictureHeaderOf(picture), "a picture is one");
  if (!result.error) return;
  require(result.error->size() <= kMostErrorBytes && !hasControls(*result.error),
          "an error is bounded, and harmless in a log");
}

void requireSameAgain(const Result& result, ReadingGoal goal) {
  const auto again = decodeResult(result.error ? encodeError(result.id, *result.error)
                                               : encodeResult(result.id, result.result, goal),
                                  goal);
  require(again && again->id == result.id && again->error == result.error &&
              again->result.outcome == result.result.outcome &&
              again->result.values == result.result.values &&
              again->result.picture.bytes == result.result.picture.bytes,
          "a result stays the same on its way");
}

void takeResults(ResultPipe& pipe) {
  while (const auto text = pipe.take()) {
    for (const ReadingGoal goal : {ReadingGoal::Tags, ReadingGoal::Picture}) {
      const auto result = decodeResult(*text, goal);
      if (!result) continue;
      requireBounded(*result);
      requireSameAgain(*result, goal);
    }
  }
}

/// Hands the bytes to the library's end of a pipe, as they arrive from a worker.
void receive(std::string_view bytes) {
  constexpr std::size_t kMostAtOnce = 4096;
  std::array<int, 2> ends{};
  require(pipe2(ends.data(), O_NONBLOCK) == 0, "there are pipes");
  ResultPipe results(Descriptor{ends[0]}, kMostResultBytes);
  const Descriptor worker(ends[1]);
  while (!bytes.empty() && !results.isBroken()) {
    const std::string_view some = bytes.substr(0, kMostAtOnce);
    require(write(worker.get(), some.data(), some.size()) == static_cast<ssize_t>(some.size()),
            "the pipe takes a page");
    bytes.remove_prefix(some.size());
    require(results.readMore(), "the page arrives");
    takeResults(results);
  }
}

void ask(std::string_view message) {
  const auto range = decodeQuestion(message);
  require(!range || (range->start >= 0 && range->length >= 0 && range->length <= kMostAskedBytes),
          "a question is bounded");
  if (range) require(encodeQuestion(*range) == message, "a question has one form");
}

}  // namespace
}  // namespace orvel::fuzz

/// Plays the messages of a worker that a file has taken over. The input is a byte that chooses the
/// channel, and the bytes: a question or greeting of the socket, or those of the pipe.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orvel::fuzz;
  InputBytes input(data, size);
  const bool isPipe = input.below(2) == 0;
  const std::string bytes = input.rest();
  if (isPipe) {
    receive(bytes);
  } else {
    ask(bytes);
    orvel::workerProtocol::decodeGreeting(bytes);
  }
  return 0;
}
